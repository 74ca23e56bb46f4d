// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Appearance.h"

#include <QDBusConnection>
#include <QDBusVariant>
#include <QMap>
#include <QVariantMap>

class QDBusPendingCallWatcher;

namespace kavrin
{

/// The appearance from the desktop's portal: the keys "color-scheme", "accent-color", "contrast" and
/// "reduced-motion" of org.freedesktop.appearance
/// (https://flatpak.github.io/xdg-desktop-portal/docs/doc-org.freedesktop.portal.Settings.html). If it has no
/// preference, windows are as dark as the application's palette. Portals without the last key tell whether
/// GNOME or Plasma animates. Needs the QGuiApplication.
class PortalAppearance : public Appearance
{
    Q_OBJECT

public:
    /// Asks the portal on `bus`, the session bus, and does not wait for it.
    explicit PortalAppearance(QDBusConnection bus = QDBusConnection::sessionBus());

    [[nodiscard]] bool isDark() const override { return m_looks.isDark; }
    [[nodiscard]] std::optional<QColor> accentColor() const override { return m_looks.accentColor; }
    [[nodiscard]] bool hasHighContrast() const override { return m_looks.hasHighContrast; }
    [[nodiscard]] bool hasReducedMotion() const override { return m_looks.hasReducedMotion; }

    /// Call this before the first window shows, so that it does not change its colours while the user looks.
    /// Returns when the portal has answered: after about 150 ms if it has not, and at once if there is no
    /// portal. changed() follows an answer that comes later.
    void waitForFirstAnswer();

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct Looks {
        bool isDark = false;
        std::optional<QColor> accentColor;
        bool hasHighContrast = false;
        bool hasReducedMotion = false;

        bool operator==(const Looks &) const = default;
    };

    void ask(int timeout);
    void take(QDBusPendingCallWatcher *answer);
    void settle();
    [[nodiscard]] Looks looks() const;
    Q_SLOT void onSettingChanged(const QString &settings, const QString &key, const QDBusVariant &value);

    QDBusConnection m_bus;
    QDBusPendingCallWatcher *m_firstAnswer = nullptr; ///< null when the answer has come
    QMap<QString, QVariantMap> m_settings; ///< as they come from the portal: by namespace, by key
    Looks m_looks;
};

} // namespace kavrin
