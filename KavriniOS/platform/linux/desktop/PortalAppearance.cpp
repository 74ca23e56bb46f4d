// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/PortalAppearance.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QEvent>
#include <QGuiApplication>
#include <QPalette>

#include <algorithm>
#include <array>
#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

const QString service = u"org.freedesktop.portal.Desktop"_s;
const QString path = u"/org/freedesktop/portal/desktop"_s;
const QString interface = u"org.freedesktop.portal.Settings"_s;
const QString appearance = u"org.freedesktop.appearance"_s;
const QString colorSchemeKey = u"color-scheme"_s;
const QString accentColorKey = u"accent-color"_s;
const QString contrastKey = u"contrast"_s;
const QString reducedMotionKey = u"reduced-motion"_s;

// Where desktops say whether they animate, to portals that do not tell of reduced motion themselves.
const QString gnome = u"org.gnome.desktop.interface"_s;
const QString gnomeAnimationKey = u"enable-animations"_s;
const QString plasma = u"org.kde.kdeglobals.KDE"_s;
const QString plasmaAnimationKey = u"AnimationDurationFactor"_s;

const QStringList namespaces = {appearance, gnome, plasma};

// A value of "color-scheme". Any other value is no preference for dark.
constexpr uint dark = 1;
constexpr uint light = 2;

constexpr uint moreContrast = 1; // a value of "contrast"
constexpr uint lessMotion = 1; // a value of "reduced-motion"

constexpr int firstTimeout = 150; // milliseconds
constexpr int usualTimeout = -1;

using Settings = QMap<QString, QVariantMap>;

bool isPaletteDark()
{
    const QPalette palette = QGuiApplication::palette();
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

/// None if a part is outside 0 to 1: the portal says in this way that there is no accent colour.
std::optional<QColor> color(const QVariant &value)
{
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() != u"(ddd)") {
        return std::nullopt;
    }
    std::array<double, 3> parts{};
    argument.beginStructure();
    argument >> parts[0] >> parts[1] >> parts[2];
    argument.endStructure();
    if (!std::ranges::all_of(parts, [](double part) { return part >= 0 && part <= 1; })) {
        return std::nullopt;
    }
    return QColor::fromRgbF(float(parts[0]), float(parts[1]), float(parts[2]));
}

bool reducesMotion(const Settings &settings)
{
    const QVariant wish = settings[appearance].value(reducedMotionKey);
    const bool isAnimatedByGnome = settings[gnome].value(gnomeAnimationKey, true).toBool();
    const double slownessOfPlasma = settings[plasma].value(plasmaAnimationKey, 1).toDouble();
    return wish.isValid() ? wish.toUInt() == lessMotion : !isAnimatedByGnome || slownessOfPlasma == 0;
}

} // namespace

PortalAppearance::PortalAppearance(QDBusConnection bus) : m_bus(std::move(bus))
{
    settle();
    qGuiApp->installEventFilter(this);
    if (!m_bus.isConnected()) {
        return;
    }
    // connect() finds no slot with this type before it is registered.
    qRegisterMetaType<QDBusVariant>();
    m_bus.connect(service, path, interface, u"SettingChanged"_s, this,
                  SLOT(onSettingChanged(QString, QString, QDBusVariant)));
    auto *owner = new QDBusServiceWatcher(service, m_bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(owner, &QDBusServiceWatcher::serviceRegistered, this, [this] { ask(usualTimeout); });
    ask(firstTimeout);
}

void PortalAppearance::waitForFirstAnswer()
{
    if (m_firstAnswer != nullptr) {
        m_firstAnswer->waitForFinished(); // calls take()
    }
}

bool PortalAppearance::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == qGuiApp && event->type() == QEvent::ApplicationPaletteChange) {
        settle();
    }
    return Appearance::eventFilter(watched, event);
}

void PortalAppearance::ask(int timeout)
{
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, interface, u"ReadAll"_s);
    call << namespaces;
    auto *answer = new QDBusPendingCallWatcher(m_bus.asyncCall(call, timeout), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, &PortalAppearance::take);
    if (timeout == firstTimeout) {
        m_firstAnswer = answer;
    }
}

void PortalAppearance::take(QDBusPendingCallWatcher *answer)
{
    answer->deleteLater();
    const bool isFirst = answer == m_firstAnswer;
    if (isFirst) {
        m_firstAnswer = nullptr;
    }

    const QDBusMessage reply = answer->reply();
    if (reply.signature() == u"a{sa{sv}}") {
        reply.arguments().constFirst().value<QDBusArgument>() >> m_settings;
        settle();
    } else if (isFirst && answer->error().type() == QDBusError::NoReply) {
        // The portal is still starting. Nobody waits any more, so it may take its time.
        ask(usualTimeout);
    }
}

void PortalAppearance::onSettingChanged(const QString &settings, const QString &key,
                                        const QDBusVariant &value)
{
    if (namespaces.contains(settings)) {
        m_settings[settings][key] = value.variant();
        settle();
    }
}

void PortalAppearance::settle()
{
    const Looks before = std::exchange(m_looks, looks());
    if (before != m_looks) {
        Q_EMIT changed();
    }
}

PortalAppearance::Looks PortalAppearance::looks() const
{
    const QVariantMap wishes = m_settings[appearance];
    const uint scheme = wishes.value(colorSchemeKey).toUInt();
    return {.isDark = scheme == dark || (scheme != light && isPaletteDark()),
            .accentColor = color(wishes.value(accentColorKey)),
            .hasHighContrast = wishes.value(contrastKey).toUInt() == moreContrast,
            .hasReducedMotion = reducesMotion(m_settings)};
}

} // namespace kavrin
