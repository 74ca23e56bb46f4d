// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/PortalAppearance.h"

#include "FakeSettingsPortal.h"
#include "support/PrivateBus.h"
#include "support/Wait.h"

#include <QDBusArgument>
#include <QGuiApplication>
#include <QPalette>

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <string>
#include <utility>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;
using Answer = FakeSettingsPortal::Answer;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

QVariant rgb(double red, double green, double blue)
{
    QDBusArgument argument;
    argument.beginStructure();
    argument << red << green << blue;
    argument.endStructure();
    return QVariant::fromValue(argument);
}

QVariantMap colorScheme(uint value)
{
    return {{u"color-scheme"_s, value}};
}

void setPalette(const QColor &window, const QColor &text)
{
    QPalette palette = QGuiApplication::palette();
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    QGuiApplication::setPalette(palette);
}

/// A session bus of the test's own, the palette light at first, as the appearance is on it.
struct Desktop {
    Desktop() { setPalette(Qt::white, Qt::black); }

    PrivateBus bus = PrivateBus("DBUS_SESSION_BUS_ADDRESS");
};

} // namespace

TEST(PortalAppearance, IsAsThePortalSays)
{
    struct Case {
        std::string name;
        QVariantMap settings;
        bool isDark;
        std::optional<QColor> accentColor;
    };
    const QColor orange = QColor::fromRgbF(0.9F, 0.4F, 0.1F);
    const std::vector<Case> cases = {
        {"nothing", {}, false, std::nullopt},
        {"no preference", colorScheme(0), false, std::nullopt},
        {"dark", colorScheme(1), true, std::nullopt},
        {"light", colorScheme(2), false, std::nullopt},
        {"unknown", colorScheme(3), false, std::nullopt},
        {"of another type", {{u"color-scheme"_s, u"dark"_s}, {u"accent-color"_s, 1.0}}, false, std::nullopt},
        {"accent", {{u"accent-color"_s, rgb(0.9, 0.4, 0.1)}}, false, orange},
        {"both", {{u"color-scheme"_s, 1U}, {u"accent-color"_s, rgb(0, 1, 0)}}, true, QColor(Qt::green)},
        {"negative", {{u"accent-color"_s, rgb(-1, 0.5, 0.5)}}, false, std::nullopt},
        {"above 1", {{u"accent-color"_s, rgb(0.5, 0.5, 1.01)}}, false, std::nullopt},
        {"no number", {{u"accent-color"_s, rgb(0.5, nan, 0.5)}}, false, std::nullopt},
    };
    const Desktop desktop;
    for (const Case &each : cases) {
        SCOPED_TRACE(each.name);
        const FakeSettingsPortal portal(desktop.bus.connection(), each.settings);
        PortalAppearance appearance;
        appearance.waitForFirstAnswer();
        EXPECT_EQ(appearance.isDark(), each.isDark);
        EXPECT_EQ(appearance.accentColor(), each.accentColor);
    }
}

TEST(PortalAppearance, HasTheContrastAndTheMotionThatThePortalWants)
{
    struct Case {
        std::string name;
        FakeSettingsPortal::Settings settings;
        bool hasHighContrast;
        bool hasReducedMotion;
    };
    const QString appearanceSettings = u"org.freedesktop.appearance"_s;
    const QString gnome = u"org.gnome.desktop.interface"_s;
    const QString plasma = u"org.kde.kdeglobals.KDE"_s;
    const auto wishes = [&](uint contrast, uint reducedMotion) {
        return std::pair(appearanceSettings,
                         QVariantMap{{u"contrast"_s, contrast}, {u"reduced-motion"_s, reducedMotion}});
    };
    const auto gnomeAnimates = [&](bool animates) {
        return std::pair(gnome, QVariantMap{{u"enable-animations"_s, animates}});
    };
    const auto plasmaTakes = [&](const QVariant &factor) {
        return std::pair(plasma, QVariantMap{{u"AnimationDurationFactor"_s, factor}});
    };
    const std::vector<Case> cases = {
        {"nothing", {}, false, false},
        {"no preference", {wishes(0, 0)}, false, false},
        {"more contrast", {wishes(1, 0)}, true, false},
        {"less motion", {wishes(0, 1)}, false, true},
        {"both", {wishes(1, 1)}, true, true},
        {"unknown", {wishes(2, 2)}, false, false},
        {"still in GNOME", {gnomeAnimates(false)}, false, true},
        {"moving in GNOME", {gnomeAnimates(true)}, false, false},
        {"still in Plasma", {plasmaTakes(u"0"_s)}, false, true},
        {"quick in Plasma", {plasmaTakes(u"0.5"_s)}, false, false},
        {"moving, whatever GNOME says", {wishes(0, 0), gnomeAnimates(false)}, false, false},
        {"still, whatever GNOME says", {wishes(0, 1), gnomeAnimates(true)}, false, true},
    };
    const Desktop desktop;
    for (const Case &each : cases) {
        SCOPED_TRACE(each.name);
        const FakeSettingsPortal portal(desktop.bus.connection(), each.settings);
        PortalAppearance appearance;
        appearance.waitForFirstAnswer();
        EXPECT_EQ(appearance.hasHighContrast(), each.hasHighContrast);
        EXPECT_EQ(appearance.hasReducedMotion(), each.hasReducedMotion);
    }
}

TEST(PortalAppearance, FollowsThePaletteWhereThePortalHasNoPreference)
{
    const Desktop desktop;
    const FakeSettingsPortal portal(desktop.bus.connection(), colorScheme(0));
    PortalAppearance appearance;
    appearance.waitForFirstAnswer();
    int changes = 0;
    QObject::connect(&appearance, &Appearance::changed, [&] { ++changes; });
    setPalette(Qt::black, Qt::white);
    EXPECT_TRUE(waitUntil([&] { return appearance.isDark(); }));
    EXPECT_EQ(changes, 1);
}

TEST(PortalAppearance, FollowsThePaletteWhereNobodyCanBeAsked)
{
    setPalette(Qt::black, Qt::white);
    PortalAppearance appearance;
    appearance.waitForFirstAnswer();
    EXPECT_TRUE(appearance.isDark());
    EXPECT_EQ(appearance.accentColor(), std::nullopt);
}

TEST(PortalAppearance, IsLightInSpiteOfADarkPaletteWhereThePortalSaysSo)
{
    const Desktop desktop;
    setPalette(Qt::black, Qt::white);
    const FakeSettingsPortal portal(desktop.bus.connection(), colorScheme(2));
    PortalAppearance appearance;
    appearance.waitForFirstAnswer();
    EXPECT_FALSE(appearance.isDark());
}

TEST(PortalAppearance, ComesAsAChangeWhereNobodyWaits)
{
    const Desktop desktop;
    const FakeSettingsPortal portal(desktop.bus.connection(), colorScheme(1));
    const PortalAppearance appearance;
    int changes = 0;
    QObject::connect(&appearance, &Appearance::changed, [&] { ++changes; });
    EXPECT_TRUE(waitUntil([&] { return changes == 1; }));
    EXPECT_TRUE(appearance.isDark());
}

TEST(PortalAppearance, IsTakenFromAnAnswerThatCouldNotBeWaitedFor)
{
    const Desktop desktop;
    FakeSettingsPortal portal(desktop.bus.connection(), colorScheme(1), Answer::WhenTold);
    PortalAppearance appearance;
    appearance.waitForFirstAnswer();
    EXPECT_FALSE(appearance.isDark());
    ASSERT_TRUE(waitUntil([&] { return portal.callCount() == 2; }));
    portal.answer();
    EXPECT_TRUE(waitUntil([&] { return appearance.isDark(); }));
}

TEST(PortalAppearance, FollowsEachChange)
{
    const Desktop desktop;
    FakeSettingsPortal portal(desktop.bus.connection(), colorScheme(2));
    PortalAppearance appearance;
    appearance.waitForFirstAnswer();
    int changes = 0;
    QObject::connect(&appearance, &Appearance::changed, [&] { ++changes; });
    const QString settings = u"org.freedesktop.appearance"_s;

    portal.change(settings, u"color-scheme"_s, 1U);
    EXPECT_TRUE(waitUntil([&] { return appearance.isDark(); }));
    EXPECT_EQ(changes, 1);
    portal.change(settings, u"accent-color"_s, rgb(1, 0, 0));
    EXPECT_TRUE(waitUntil([&] { return appearance.accentColor() == QColor(Qt::red); }));
    EXPECT_EQ(changes, 2);
    portal.change(settings, u"accent-color"_s, rgb(-1, -1, -1));
    EXPECT_TRUE(waitUntil([&] { return !appearance.accentColor(); }));
    EXPECT_EQ(changes, 3);
    portal.change(settings, u"contrast"_s, 1U);
    EXPECT_TRUE(waitUntil([&] { return appearance.hasHighContrast(); }));
    portal.change(u"org.gnome.desktop.interface"_s, u"enable-animations"_s, false);
    EXPECT_TRUE(waitUntil([&] { return appearance.hasReducedMotion(); }));
    EXPECT_EQ(changes, 5);
}

TEST(PortalAppearance, IgnoresWhatIsNotItsOwn)
{
    const Desktop desktop;
    FakeSettingsPortal portal(desktop.bus.connection(), colorScheme(2));
    PortalAppearance appearance;
    appearance.waitForFirstAnswer();
    int changes = 0;
    QObject::connect(&appearance, &Appearance::changed, [&] { ++changes; });
    portal.change(u"org.gnome.desktop.interface"_s, u"color-scheme"_s, 1U);
    portal.change(u"org.freedesktop.appearance"_s, u"unknown"_s, 1U);
    portal.change(u"org.freedesktop.appearance"_s, u"color-scheme"_s, 2U);
    portal.change(u"org.freedesktop.appearance"_s, u"accent-color"_s, rgb(1, 0, 0));
    ASSERT_TRUE(waitUntil([&] { return appearance.accentColor().has_value(); }));
    EXPECT_EQ(changes, 1);
    EXPECT_FALSE(appearance.isDark());
}

TEST(PortalAppearance, IsAskedForAnewWhenAPortalAppearsOrRestarts)
{
    const Desktop desktop;
    PortalAppearance appearance;
    appearance.waitForFirstAnswer();
    EXPECT_FALSE(appearance.isDark());
    std::optional<FakeSettingsPortal> portal(std::in_place, desktop.bus.connection(), colorScheme(1));
    EXPECT_TRUE(waitUntil([&] { return appearance.isDark(); }));
    portal.reset();
    portal.emplace(desktop.bus.connection(), colorScheme(2));
    EXPECT_TRUE(waitUntil([&] { return !appearance.isDark(); }));
}

TEST(PortalAppearance, IsThePalettesWhereThePortalRefuses)
{
    const Desktop desktop;
    setPalette(Qt::black, Qt::white);
    const FakeSettingsPortal portal(desktop.bus.connection(), colorScheme(2), Answer::Refusal);
    PortalAppearance appearance;
    appearance.waitForFirstAnswer();
    EXPECT_EQ(portal.callCount(), 1);
    EXPECT_TRUE(appearance.isDark());
}

} // namespace kavrin::test
