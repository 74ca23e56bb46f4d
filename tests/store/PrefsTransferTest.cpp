// SPDX-License-Identifier: MIT
#include "store/BrokenSuite.h"
#include "store/Prefs.h"
#include "store/Shared.h"
#include "support/RefusedKey.h"
#include "support/Suite.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

using namespace kavrin;
using namespace kavrin::test;
using namespace Qt::StringLiterals;

namespace
{

QJsonObject bodyOf(const QString &blob)
{
    return QJsonDocument::fromJson(QByteArray::fromBase64(blob.mid(11).toUtf8())).object();
}

QString blobOf(const QByteArray &json)
{
    return u"KAVRINCFG1:"_s + QString::fromLatin1(json.toBase64());
}

void expectImportError(const QString &blob, const QString &description)
{
    const auto [done, failure] = Prefs::importBlob(blob);
    EXPECT_EQ(done.count, 0);
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->domain, u"import");
    EXPECT_EQ(failure->code, 1);
    EXPECT_EQ(failure->localizedDescription, description);
}

} // namespace

TEST(PrefsTransfer, AFreshInstallExportsAnEmptyObject)
{
    EXPECT_EQ(Prefs::exportBlob(), u"KAVRINCFG1:e30=");
}

TEST(PrefsTransfer, AnExportHoldsWhatWasStoredAndNothingElse)
{
    Prefs::set(u"rowH"_s, 60.5);
    Prefs::set(u"numberRow"_s, true);
    Prefs::set(u"provider"_s, u"custom"_s);
    Prefs::set(u"openaiKey"_s, u"sk-ş/é"_s);
    test::put(Shared::d(), u"userDict"_s, u"omw=on my way\n"_s);
    test::put(Shared::d(), u"toolOrder"_s, u"gif"_s);
    test::put(Shared::d(), u"dictationCommand"_s, u"start"_s);
    test::put(Shared::d(), u"act.resize"_s, true);

    const QString blob = Prefs::exportBlob();
    EXPECT_TRUE(blob.startsWith(u"KAVRINCFG1:"));
    EXPECT_FALSE(blob.contains(u'\n'));
    EXPECT_EQ(bodyOf(blob),
              (QJsonObject{{u"rowH"_s, 60.5},
                           {u"numberRow"_s, true},
                           {u"provider"_s, u"custom"_s},
                           {u"openaiKey"_s, u"sk-ş/é"_s},
                           {u"userDict"_s, u"omw=on my way\n"_s}}));
}

TEST(PrefsTransfer, AnExportIsWrittenInTheStandardAlphabetOfBase64)
{
    Prefs::set(u"ytKey"_s, u">>>>>?????"_s);
    EXPECT_EQ(Prefs::exportBlob(), u"KAVRINCFG1:eyJ5dEtleSI6Ij4+Pj4+Pz8/Pz8ifQ==");
}

TEST(PrefsTransfer, AnExportReadsTheSuiteNotTheCache)
{
    EXPECT_EQ(Prefs::get<double>(u"rowH"_s), 54);
    test::put(Shared::d(), u"rowH"_s, 70.0);
    EXPECT_EQ(bodyOf(Prefs::exportBlob()).value(u"rowH"_s), QJsonValue(70));
}

TEST(PrefsTransfer, AValueThatJsonCannotHoldMakesTheWholeExportFail)
{
    const PropertyListValue values[] = {Date{5}, QByteArray("x"), PropertyListArray{Date{5}}};
    for (const PropertyListValue &value : values) {
        test::put(Shared::d(), u"rowH"_s, value);
        EXPECT_EQ(Prefs::exportBlob(), u"");
    }
}

TEST(PrefsTransfer, AnImportRestoresWhatWasExported)
{
    Prefs::set(u"rowH"_s, 60.5);
    Prefs::set(u"numberRow"_s, true);
    Prefs::set(u"openaiKey"_s, u"sk"_s);
    test::put(Shared::d(), u"userDict"_s, u"word"_s);
    const QString blob = Prefs::exportBlob();
    Prefs::reset({u"rowH"_s, u"numberRow"_s, u"openaiKey"_s, u"userDict"_s});

    EXPECT_EQ(Prefs::importBlob(u"  "_s + blob + u"\n"_s).value.count, 4);
    EXPECT_EQ(Prefs::get<double>(u"rowH"_s), 60.5);
    EXPECT_TRUE(Prefs::get<bool>(u"numberRow"_s));
    EXPECT_EQ(Prefs::get<QString>(u"openaiKey"_s), u"sk");
    EXPECT_EQ(Shared::d().string(u"userDict"_s), u"word"_s);
}

TEST(PrefsTransfer, EverySettingMakesTheJourney)
{
    for (const Prefs::Item &item : Prefs::items()) {
        if (std::holds_alternative<catalogue::Toggle>(item.kind)) {
            Prefs::set(item.key, !Prefs::get<bool>(item.key));
        } else if (const auto *slider = std::get_if<catalogue::Slider>(&item.kind)) {
            Prefs::set(item.key, slider->upper);
        } else if (const auto *choice = std::get_if<catalogue::Choice>(&item.kind)) {
            Prefs::set(item.key, choice->options.back().v);
        } else if (std::holds_alternative<catalogue::Text>(item.kind)) {
            Prefs::set(item.key, item.key + u" text"_s);
        }
    }
    const QString blob = Prefs::exportBlob();
    Prefs::reset(Prefs::items().keys());
    EXPECT_EQ(Prefs::exportBlob(), u"KAVRINCFG1:e30=");
    EXPECT_EQ(test::failureOf(Prefs::importBlob(blob).failure), u"");
    EXPECT_EQ(bodyOf(Prefs::exportBlob()), bodyOf(blob));
}

TEST(PrefsTransfer, AnImportLeavesOutWhatNoExportWrites)
{
    const QByteArray json =
        R"({"rowH":40,"dictationCommand":"start","act.resize":true,"unknown":1,"vGap":null})";
    EXPECT_EQ(Prefs::importBlob(blobOf(json)).value.count, 1);
    EXPECT_EQ(Shared::d().object(u"dictationCommand"_s), std::nullopt);
    EXPECT_EQ(Shared::d().object(u"unknown"_s), std::nullopt);
    EXPECT_EQ(Shared::d().object(u"vGap"_s), std::nullopt);
}

TEST(PrefsTransfer, AnImportStoresWhatFitsTheCatalogueAndLeavesTheRestAsItWas)
{
    struct Row {
        QString key;
        QByteArray json;
        std::optional<PropertyListValue> stored; ///< none if it is as it was
    };
    const Row rows[] = {
        {u"rowH"_s, "36", 36.0},
        {u"rowH"_s, "80.0", 80.0},
        {u"rowH"_s, "60.5", 60.5}, // a keyboard may store what lies between two steps
        {u"rowH"_s, "35.9", {}},
        {u"rowH"_s, "81", {}},
        {u"rowH"_s, "1.18e21", {}},
        {u"rowH"_s, "\"60\"", {}},
        {u"rowH"_s, "true", {}},
        {u"rowH"_s, "null", {}},
        {u"rowH"_s, "[60]", {}},
        {u"touchY"_s, "-12", -12.0},
        {u"numberRow"_s, "true", true},
        {u"numberRow"_s, "1", true},
        {u"numberRow"_s, "0", false},
        {u"numberRow"_s, "2", {}},
        {u"numberRow"_s, "\"true\"", {}},
        {u"provider"_s, "\"gemini\"", u"gemini"_s},
        {u"provider"_s, "\"zzz\"", {}},
        {u"provider"_s, "\"\"", {}},
        {u"provider"_s, "1", {}},
        {u"openaiKey"_s, "\"sk-new\"", u"sk-new"_s},
        {u"openaiKey"_s, "\" sk-new\\r\\n\"", u"sk-new"_s},
        {u"openaiKey"_s, "\"\"", u""_s},
        {u"openaiKey"_s, "5", {}},
        {u"openaiKey"_s, "null", {}},
        {u"openaiKey"_s, "{}", {}},
        {u"openaiKey"_s, "\"a\\nb\"", {}},
        {u"customModel"_s, "\"any\"", u"any"_s},
        {u"openaiModel"_s, "5", {}},
        {u"openaiModel"_s, "\"\"", {}},
        {u"openaiModel"_s, "\"a\\nb\"", {}},
        {u"userDict"_s, "\"omw=on my way\\r\\n\"", u"omw=on my way\r\n"_s},
        {u"userDict"_s, "5", {}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.key.toStdString() + " " + row.json.toStdString());
        const PropertyListValue before = u"as it was"_s;
        test::put(Shared::d(), row.key, before);
        const auto [done, failure] =
            Prefs::importBlob(blobOf("{\"vGap\":4,\"" + row.key.toUtf8() + "\":" + row.json + "}"));
        EXPECT_EQ(test::failureOf(failure), u"");
        EXPECT_EQ(Shared::d().object(row.key), row.stored.value_or(before));
        EXPECT_EQ(Shared::d().object(u"vGap"_s), PropertyListValue(4.0));
        EXPECT_EQ(done.count, row.stored ? 2 : 1);
        EXPECT_EQ(done.misfits.join(u""_s).startsWith(row.key), !row.stored.has_value());
        EXPECT_EQ(done.remarks, QStringList());
    }
}

TEST(PrefsTransfer, AnImportSaysWhatWouldHaveFitted)
{
    const QByteArray json = R"({"numberRow":5,"openaiKey":5,"provider":"zzz","rowH":1e21,"userDict":5})";
    EXPECT_EQ(Prefs::importBlob(blobOf(json)).value.misfits,
              (QStringList{u"numberRow is true or false."_s,
                           u"openaiKey is one line of text, without control characters."_s,
                           u"provider is one of openai, gemini, custom."_s,
                           u"rowH is a number from 36 to 80."_s, u"userDict is text."_s}));
}

TEST(PrefsTransfer, AModelThatTheListDoesNotHoldIsImportedWithARemark)
{
    for (const QString &key : {u"openaiModel"_s, u"geminiModel"_s}) {
        const auto done = Prefs::importBlob(blobOf("{\"" + key.toUtf8() + "\":\"model-5\"}")).value;
        EXPECT_EQ(Shared::d().string(key), u"model-5"_s);
        EXPECT_EQ(done.remarks,
                  QStringList(key + u" is \"model-5\" now, a model that this version does not know."_s));
        EXPECT_EQ(done.misfits, QStringList());
    }
}

TEST(PrefsTransfer, WhatAnImportLeavesOutIsNamedSoThatATerminalCanShowIt)
{
    const QByteArray json =
        R"({"act.resize":true,"unknown":1,"\u001b[2J":1,")" + QByteArray(41, 'x') + R"(":1})";
    QStringList remarks = Prefs::importBlob(blobOf(json)).value.remarks;
    remarks.sort();
    EXPECT_EQ(remarks,
              (QStringList{u"\"act.resize\" is no setting, and was left out."_s,
                           u"\"unknown\" is no setting, and was left out."_s,
                           u"A member with an odd name is no setting, and was left out."_s,
                           u"A member with an odd name is no setting, and was left out."_s}));
}

TEST(PrefsTransfer, WhatIsNoBlobIsRefusedAndNothingStored)
{
    const QString foreign = u"This is not a settings text: it does not begin with \"KAVRINCFG1:\". "
                            "Copy the settings again."_s;
    const QString damaged = u"The settings text is damaged or cut short. Copy the settings again."_s;
    const QString good = blobOf(R"({"rowH":40})");
    const std::pair<QString, QString> rows[] = {
        {u""_s, foreign},         {u"KAVRINCFG2:e30="_s, foreign}, {u"kavrincfg1:e30="_s, foreign},
        {u"e30="_s, foreign},     {u"KAVRINCFG1:"_s, damaged},     {u"KAVRINCFG1:e3!0="_s, damaged},
        {blobOf("[1]"), damaged}, {blobOf("{"), damaged},          {good.chopped(4), damaged},
        {good + good, damaged},
    };
    for (const auto &[blob, description] : rows) {
        SCOPED_TRACE(blob.toStdString());
        expectImportError(blob, description);
        EXPECT_EQ(Shared::d().dictionaryRepresentation().value, PropertyListDictionary());
    }
}

TEST(PrefsTransfer, SettingsThatCannotBeReadAreNotExported)
{
    Prefs::set(u"rowH"_s, 60.0);
    const BrokenSuite broken;
    EXPECT_EQ(Prefs::exportBlob(), u"");
}

TEST(PrefsTransfer, SettingsThatCannotBeStoredAreNotImported)
{
    const BrokenSuite broken;
    const QString reason = test::failureOf(Shared::d().set(u"rowH"_s, 40.0));
    expectImportError(blobOf(R"({"rowH":40})"), u"The settings could not be stored: "_s + reason);
}

TEST(PrefsTransfer, AnImportThatFailsHalfWayLeavesNothingImported)
{
    Prefs::set(u"rowH"_s, 60.0);
    const RefusedKey refused("vGap");
    const PropertyListDictionary before = Shared::d().dictionaryRepresentation().value;
    EXPECT_TRUE(Prefs::importBlob(blobOf(R"({"hGap":4,"rowH":40,"vGap":4})")).failure.has_value());
    EXPECT_EQ(Shared::d().dictionaryRepresentation().value, before);
    EXPECT_EQ(Prefs::get<double>(u"rowH"_s), 60);
}

TEST(PrefsTransfer, WhatCannotBeResetIsRefused)
{
    const BrokenSuite broken;
    EXPECT_TRUE(Prefs::reset({u"rowH"_s}).result().has_value());
    EXPECT_TRUE(Prefs::reset({}).result().has_value());
    EXPECT_TRUE(Prefs::resetAll().result().has_value());
}

TEST(PrefsTransfer, ResettingAllKeepsTextsAndRestoresTheRest)
{
    Prefs::set(u"rowH"_s, 60.0);
    Prefs::set(u"numberRow"_s, true);
    Prefs::set(u"provider"_s, u"gemini"_s);
    Prefs::set(u"geminiKey"_s, u"key"_s);
    Prefs::set(u"customModel"_s, u"model"_s);
    test::put(Shared::d(), u"settingsRevision"_s, 1.0);

    EXPECT_FALSE(Prefs::resetAll().result().has_value());
    EXPECT_EQ(Prefs::get<double>(u"rowH"_s), 54);
    EXPECT_FALSE(Prefs::get<bool>(u"numberRow"_s));
    EXPECT_EQ(Prefs::get<QString>(u"provider"_s), u"openai");
    EXPECT_EQ(Prefs::get<QString>(u"geminiKey"_s), u"key");
    EXPECT_EQ(Prefs::get<QString>(u"customModel"_s), u"model");
    EXPECT_GT(std::get<double>(*Shared::d().object(u"settingsRevision"_s)), 1.0);
}

TEST(PrefsTransfer, ResettingAllTouchesNothingButTogglesSlidersAndChoices)
{
    QStringList kept = {u"userDict"_s, u"toolOrder"_s, u"toolHidden"_s};
    for (const Prefs::Item &item : Prefs::items()) {
        test::put(Shared::d(), item.key, u"stored"_s);
        if (std::holds_alternative<catalogue::Text>(item.kind)
            || std::holds_alternative<catalogue::Action>(item.kind)) {
            kept.append(item.key);
        }
    }
    PropertyListDictionary expected;
    for (const QString &key : kept) {
        test::put(Shared::d(), key, u"stored"_s);
        expected[key] = u"stored"_s;
    }
    Prefs::resetAll();
    PropertyListDictionary left = Shared::d().dictionaryRepresentation().value;
    left.erase(u"settingsRevision"_s);
    EXPECT_EQ(left, expected);
}

TEST(PrefsTransfer, ResettingNothingStillForgetsWhatWasReadAndStampsTheRevision)
{
    EXPECT_EQ(Prefs::get<double>(u"rowH"_s), 54);
    test::put(Shared::d(), u"rowH"_s, 70.0);
    EXPECT_FALSE(Prefs::reset({}).result().has_value());
    EXPECT_EQ(Prefs::get<double>(u"rowH"_s), 70);
    EXPECT_TRUE(Shared::d().object(u"settingsRevision"_s).has_value());
}

TEST(PrefsTransfer, ResettingOneKeyLeavesTheOthersStored)
{
    Prefs::set(u"rowH"_s, 60.0);
    Prefs::set(u"vGap"_s, 5.0);
    Prefs::reset({u"rowH"_s});
    EXPECT_EQ(Prefs::get<double>(u"rowH"_s), 54);
    EXPECT_EQ(Prefs::get<double>(u"vGap"_s), 5);
}
