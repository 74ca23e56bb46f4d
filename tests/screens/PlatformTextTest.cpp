// SPDX-License-Identifier: MIT
#include "platform/PlatformText.h"
#include "screens/Screens.h"
#include "support/Painted.h"
#include "support/PhoneWays.h"
#include "support/Suite.h"

#include <functional>

namespace kavrin::test
{

namespace
{

/// What a screen reader reads below `element`: names and descriptions, also of what is hidden.
QStringList readTexts(QAccessibleInterface *element)
{
    QStringList texts = {element->text(QAccessible::Name), element->text(QAccessible::Description)};
    for (int i = 0; i < element->childCount(); ++i) {
        texts += readTexts(element->child(i));
    }
    return texts;
}

QStringList textsIn(QmlWindow &window)
{
    return painted(window.view(), window.top())
        + readTexts(QAccessible::queryAccessibleInterface(window.top()));
}

QStringList optionsOf(const SettingModel &setting)
{
    QStringList options;
    for (const QVariant &option : setting.options()) {
        options.append(option.toMap().value(u"t"_s).toString());
    }
    return options;
}

QStringList optionsOf(const PageModel &page)
{
    QStringList options;
    for (const QObject *section : page.sections()) {
        for (const QObject *setting : qobject_cast<const SectionModel *>(section)->settings()) {
            options += optionsOf(*qobject_cast<const SettingModel *>(setting));
        }
    }
    return options;
}

class PlatformTextTest : public Screens
{
protected:
    /// Every text of every page as the settings stand.
    QStringList textsOfPages()
    {
        QStringList texts;
        for (const Prefs::Page &shown : Prefs::pages()) {
            openPage(shown.id, QSize(400, 4000));
            texts += textsIn(window()) + optionsOf(page());
        }
        return texts;
    }
};

TEST_F(PlatformTextTest, NoPageTellsTheWaysOfAPhone)
{
    using Status = Contacts::AuthorizationStatus;
    const std::function<void()> states[] = {
        [] {},
        [] { Prefs::set(u"provider"_s, u"gemini"_s); },
        [] { Prefs::set(u"provider"_s, u"custom"_s); },
        [] { Prefs::set(u"dictMode"_s, u"system"_s); },
        [] { Prefs::set(u"language"_s, u"tr"_s); },
        [this] { contacts.status = Status::Denied; },
        [this] { contacts.status = Status::Restricted; },
        [this] { contacts.status = Status::Authorized; },
        [] { put(Shared::d(), u"probeKb"_s, true); },
    };
    for (const auto &reach : states) {
        reach();
        EXPECT_EQ(phoneWaysIn(textsOfPages()), QStringList());
    }
}

TEST_F(PlatformTextTest, NoOtherScreenTellsTheWaysOfAPhone)
{
    openSettings(QSize(400, 4000));
    EXPECT_EQ(phoneWaysIn(textsIn(window())), QStringList());
    for (const QString &screen : {u"DictionaryView"_s, u"ToolbarOrderView"_s}) {
        QmlWindow editor(u"Kavrin.Screens"_s, screen);
        EXPECT_EQ(phoneWaysIn(textsIn(editor)), QStringList());
    }
}

TEST_F(PlatformTextTest, ActionsSayNothingOfThePhoneWhenTheyAreDone)
{
    openPage(u"advanced"_s);
    window().click(u"Copy all settings & keys"_s);
    window().click(u"Reset all settings"_s);
    EXPECT_EQ(phoneWaysIn(textsIn(window())), QStringList());
}

TEST_F(PlatformTextTest, ATextWithoutARowStandsAsItIsDescribed)
{
    for (const QString &text : {u"Key height"_s, u"iOS"_s, QString()}) {
        EXPECT_EQ(platformText(text), text);
    }
}

TEST_F(PlatformTextTest, TheCatalogueKeepsTheDescribedTexts)
{
    EXPECT_EQ(Prefs::items().value(u"stockLayout"_s).title,
              u"iOS-style bottom row (123, emoji, space, return)");
    EXPECT_EQ(platformText(u"iOS-style bottom row (123, emoji, space, return)"_s),
              u"Plain bottom row (123, emoji, space, return)");
}

} // namespace

} // namespace kavrin::test
