// SPDX-License-Identifier: MIT
#include "catalogue/Catalogue.h"
#include "support/Paths.h"

#include <QFile>
#include <QRegularExpression>
#include <QStringList>

#include <gmock/gmock.h>

/// docs/settings.md against the catalogue.
namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

struct Paragraph {
    QString key;
    QString facts; ///< what stands in italics
    QString text;
};

/// The paragraphs that begin with a key, in their order.
std::vector<Paragraph> paragraphs()
{
    static const QRegularExpression form(u"^\\*\\*`([^`]+)`\\*\\* \\*([^*]+)\\* (.+)$"_s);
    QFile file(sourcePath("docs/settings.md"));
    EXPECT_TRUE(file.open(QFile::ReadOnly));
    std::vector<Paragraph> found;
    for (const QString &block : QString::fromUtf8(file.readAll()).split(u"\n\n"_s)) {
        const QRegularExpressionMatch match = form.match(block.simplified());
        if (match.hasMatch()) {
            found.push_back({match.captured(1), match.captured(2), match.captured(3)});
        }
    }
    return found;
}

QString code(const QString &text)
{
    return u'`' + text + u'`';
}

QString withUnit(double number, const QString &unit)
{
    const QString digits = QString::number(number);
    return unit.isEmpty() || unit == u"%" ? digits + unit : digits + u' ' + unit;
}

/// What the document says of a kind.
struct KindInWords {
    QString operator()(const catalogue::Toggle &toggle) const
    {
        return toggle.defaultValue ? u"On."_s : u"Off."_s;
    }

    QString operator()(const catalogue::Slider &slider) const
    {
        return u"%1; %2 to %3 in steps of %4."_s.arg(withUnit(slider.defaultValue, slider.unit))
            .arg(slider.lower)
            .arg(slider.upper)
            .arg(slider.step);
    }

    QString operator()(const catalogue::Choice &choice) const
    {
        QStringList options;
        for (const catalogue::Opt &option : choice.options) {
            options.append(code(option.v));
        }
        return u"%1; one of %2%3."_s.arg(code(choice.defaultValue), options.join(u", "_s),
                                         choice.isOpen ? u", or another name"_s : QString());
    }

    QString operator()(const catalogue::Text &text) const
    {
        return u"%1; %2."_s.arg(text.secret ? u"Secret"_s : u"Text"_s,
                                text.defaultValue.isEmpty() ? u"empty"_s : code(text.defaultValue));
    }

    QString operator()(const catalogue::Action &) const { return u"Stores nothing."_s; }
};

QString conditionsInWords(const std::vector<catalogue::Condition> &conditions)
{
    QStringList words;
    for (const catalogue::Condition &condition : conditions) {
        const QString verb = condition.isEqual ? u" is "_s : u" is not "_s;
        words.append(code(condition.key) + verb + code(condition.value));
    }
    return words.isEmpty() ? QString() : u" Hidden unless %1."_s.arg(words.join(u" and "_s));
}

QString factsOf(const catalogue::Item &item)
{
    return std::visit(KindInWords(), item.kind) + conditionsInWords(item.conditions)
        + (item.onlyInKeyboard ? u" Only in the keyboard's own settings."_s : QString());
}

} // namespace

TEST(SettingsDocument, HasAParagraphForEachKeyOfTheCatalogueInItsOrder)
{
    std::vector<std::string> expected;
    for (const catalogue::Page &page : catalogue::pages()) {
        for (const catalogue::Sect &section : page.sections) {
            for (const catalogue::Item &item : section.items) {
                expected.push_back(item.key.toStdString());
            }
        }
    }
    std::vector<std::string> found;
    for (const Paragraph &paragraph : paragraphs()) {
        found.push_back(paragraph.key.toStdString());
    }
    EXPECT_EQ(found, expected);
}

TEST(SettingsDocument, StatesTheDefaultsTheRangesAndTheHiddenRowsOfTheCatalogue)
{
    for (const Paragraph &paragraph : paragraphs()) {
        EXPECT_EQ(paragraph.facts.toStdString(),
                  factsOf(catalogue::items().value(paragraph.key)).toStdString())
            << qPrintable(paragraph.key);
    }
}

TEST(SettingsDocument, SaysOfEachSettingWhatItMeans)
{
    for (const Paragraph &paragraph : paragraphs()) {
        EXPECT_GE(paragraph.text.split(u' ').size(), 3) << qPrintable(paragraph.key);
        EXPECT_FALSE(paragraph.text.contains(u"iOS"_s)) << qPrintable(paragraph.key);
    }
}

} // namespace kavrin::test
