// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Appearance.h"

#include <QDBusConnection>
#include <QDBusVariant>
#include <QVariantMap>

class QDBusPendingCallWatcher;

namespace kavrin
{

/// The appearance that the desktop's portal tells: the keys "color-scheme" and "accent-color" of
/// org.freedesktop.appearance
/// (https://flatpak.github.io/xdg-desktop-portal/docs/doc-org.freedesktop.portal.Settings.html). Where it
/// tells no preference, windows are as dark as the application's palette. Needs the QGuiApplication.
class PortalAppearance : public Appearance
{
    Q_OBJECT

public:
    /// Asks the portal of `bus`, the session bus, without waiting for it.
    explicit PortalAppearance(QDBusConnection bus = QDBusConnection::sessionBus());

    [[nodiscard]] bool isDark() const override { return m_isDark; }
    [[nodiscard]] std::optional<QColor> accentColor() const override { return m_accentColor; }

    /// To be called before the first window shows, so that it does not change its colours under the user's
    /// eyes. Returns when the portal has answered, after about 150 ms where it has not; at once where there
    /// is no portal. An answer that comes later is followed by changed().
    void waitForFirstAnswer();

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void ask(int timeout);
    void take(QDBusPendingCallWatcher *answer);
    void settle();
    Q_SLOT void onSettingChanged(const QString &settings, const QString &key, const QDBusVariant &value);

    QDBusConnection m_bus;
    QDBusPendingCallWatcher *m_firstAnswer = nullptr; ///< until it has come
    QVariantMap m_settings; ///< as the portal tells them
    bool m_isDark = false;
    std::optional<QColor> m_accentColor;
};

} // namespace kavrin
