// SPDX-License-Identifier: MIT
#include "codes/KavrinShortcuts.h"

#include "support/Paths.h"

#include <QFile>
#include <QRegularExpression>
#include <QSettings>

#include <gtest/gtest.h>

using namespace kavrin;
using namespace Qt::StringLiterals;

TEST(KavrinShortcuts, AreExactlyOne)
{
    const std::vector<AppShortcut> shortcuts = KavrinShortcuts::appShortcuts();
    ASSERT_EQ(shortcuts.size(), 1);
    EXPECT_EQ(shortcuts.front().intent.text, u"");
    EXPECT_EQ(shortcuts.front().shortTitle, u"Save code");
    EXPECT_EQ(shortcuts.front().systemImageName, u"number");
}

TEST(KavrinShortcuts, ThePhraseEndsWithTheApplicationsNameAndHasItOnce)
{
    const QStringList phrases = KavrinShortcuts::appShortcuts().at(0).phrases;
    ASSERT_EQ(phrases.size(), 1);
    const QString token = KavrinShortcuts::applicationNameToken();
    EXPECT_EQ(phrases.first(), u"Save code in "_s + token);
    EXPECT_EQ(phrases.first().count(token), 1);
    EXPECT_TRUE(phrases.first().endsWith(token));
    EXPECT_EQ(KavrinShortcuts::displayPhrase(phrases.first(), u"Kavrin"_s), u"Save code in Kavrin");
}

TEST(KavrinShortcuts, AreMadeAnewOnEachAccess)
{
    std::vector<AppShortcut> shortcuts = KavrinShortcuts::appShortcuts();
    shortcuts.front().intent.text = u"code 4821"_s;
    shortcuts.front().phrases.clear();
    EXPECT_EQ(KavrinShortcuts::appShortcuts().at(0).intent.text, u"");
    EXPECT_EQ(KavrinShortcuts::appShortcuts().at(0).phrases.size(), 1);
}

TEST(KavrinShortcuts, AreWhatTheDesktopEntryOffers)
{
    QSettings entry(test::sourcePath("packaging/app.kavrin.Kavrin.desktop"), QSettings::IniFormat);
    const AppShortcut shortcut = KavrinShortcuts::appShortcuts().at(0);
    EXPECT_EQ(entry.value(u"Desktop Action save-code/Name"_s), shortcut.shortTitle);
    EXPECT_EQ(entry.value(u"Desktop Action save-code/Icon"_s),
              QString(u"app.kavrin.Kavrin-"_s + shortcut.systemImageName + u"-symbolic"_s));
}

TEST(KavrinShortcuts, AreFoundByTheWordsOfTheirTitle)
{
    QFile entry(test::sourcePath("packaging/app.kavrin.Kavrin.desktop"));
    ASSERT_TRUE(entry.open(QIODevice::ReadOnly));
    const QString keywords = QRegularExpression(u"^Keywords=(.*)$"_s, QRegularExpression::MultilineOption)
                                 .match(QString::fromUtf8(entry.readAll()))
                                 .captured(1);
    for (const QString &word : {u"verification"_s, u"code"_s}) {
        EXPECT_TRUE(keywords.split(u';').contains(word)) << word.toStdString();
    }
}
