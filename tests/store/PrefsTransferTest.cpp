// SPDX-License-Identifier: MIT
#include "store/Prefs.h"
#include "store/Shared.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

using namespace kavrin;
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
    Shared::d().set(u"userDict"_s, u"omw=on my way\n"_s);
    Shared::d().set(u"toolOrder"_s, u"gif"_s);
    Shared::d().set(u"dictationCommand"_s, u"start"_s);
    Shared::d().set(u"act.resize"_s, true);

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

TEST(PrefsTransfer, AnExportReadsTheSuiteNotTheCache)
{
    EXPECT_EQ(Prefs::get<double>(u"rowH"_s), 54);
    Shared::d().set(u"rowH"_s, 70.0);
    EXPECT_EQ(bodyOf(Prefs::exportBlob()).value(u"rowH"_s), QJsonValue(70));
}

TEST(PrefsTransfer, AValueThatJsonCannotHoldMakesTheWholeExportFail)
{
    const PropertyListValue values[] = {Date{5}, QByteArray("x"), PropertyListArray{Date{5}}};
    for (const PropertyListValue &value : values) {
        Shared::d().set(u"rowH"_s, value);
        EXPECT_EQ(Prefs::exportBlob(), u"");
    }
}

TEST(PrefsTransfer, AnImportRestoresWhatWasExported)
{
    Prefs::set(u"rowH"_s, 60.5);
    Prefs::set(u"numberRow"_s, true);
    Prefs::set(u"openaiKey"_s, u"sk"_s);
    Shared::d().set(u"userDict"_s, u"word"_s);
    const QString blob = Prefs::exportBlob();
    Prefs::reset({u"rowH"_s, u"numberRow"_s, u"openaiKey"_s, u"userDict"_s});

    EXPECT_EQ(Prefs::importBlob(u"  "_s + blob + u"\n"_s), 4);
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
    Prefs::importBlob(blob);
    EXPECT_EQ(bodyOf(Prefs::exportBlob()), bodyOf(blob));
}

TEST(PrefsTransfer, AnImportLeavesOutWhatNoExportWrites)
{
    const QByteArray json =
        R"({"rowH":40,"dictationCommand":"start","act.resize":true,"unknown":1,"vGap":null})";
    EXPECT_EQ(Prefs::importBlob(blobOf(json)), 1);
    EXPECT_EQ(Shared::d().object(u"dictationCommand"_s), std::nullopt);
    EXPECT_EQ(Shared::d().object(u"unknown"_s), std::nullopt);
    EXPECT_EQ(Shared::d().object(u"vGap"_s), std::nullopt);
}

TEST(PrefsTransfer, WhatIsNoBlobIsRefusedAndNothingStored)
{
    const QString good = blobOf(R"({"rowH":40})");
    const QString blobs[] = {u""_s,
                             u"KAVRINCFG1:"_s,
                             u"KAVRINCFG2:e30="_s,
                             u"kavrincfg1:e30="_s,
                             u"e30="_s,
                             u"KAVRINCFG1:e3!0="_s,
                             blobOf("[1]"),
                             blobOf("{"),
                             good.chopped(4),
                             good + good};
    for (const QString &blob : blobs) {
        SCOPED_TRACE(blob.toStdString());
        EXPECT_THROW(Prefs::importBlob(blob), Error);
        EXPECT_EQ(Shared::d().dictionaryRepresentation(), PropertyListDictionary());
    }
}

TEST(PrefsTransfer, ResettingAllKeepsTextsAndRestoresTheRest)
{
    Prefs::set(u"rowH"_s, 60.0);
    Prefs::set(u"numberRow"_s, true);
    Prefs::set(u"provider"_s, u"gemini"_s);
    Prefs::set(u"geminiKey"_s, u"key"_s);
    Prefs::set(u"customModel"_s, u"model"_s);
    Shared::d().set(u"settingsRevision"_s, 1.0);

    EXPECT_TRUE(Prefs::resetAll());
    EXPECT_EQ(Prefs::get<double>(u"rowH"_s), 54);
    EXPECT_FALSE(Prefs::get<bool>(u"numberRow"_s));
    EXPECT_EQ(Prefs::get<QString>(u"provider"_s), u"openai");
    EXPECT_EQ(Prefs::get<QString>(u"geminiKey"_s), u"key");
    EXPECT_EQ(Prefs::get<QString>(u"customModel"_s), u"model");
    EXPECT_GT(std::get<double>(*Shared::d().object(u"settingsRevision"_s)), 1.0);
}

TEST(PrefsTransfer, ResettingNothingStillForgetsWhatWasReadAndStampsTheRevision)
{
    EXPECT_EQ(Prefs::get<double>(u"rowH"_s), 54);
    Shared::d().set(u"rowH"_s, 70.0);
    EXPECT_TRUE(Prefs::reset({}));
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
