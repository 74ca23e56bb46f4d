// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/PortalRequest.h"

#include <QVariantList>

namespace kavrin
{

/// A session with one interface of the desktop's portal (org.freedesktop.portal.Session), such as
/// "org.freedesktop.portal.RemoteDesktop". It ends with this object. Main thread only.
class PortalSession : public QObject
{
    Q_OBJECT

public:
    /// The desktop acts for its user. The portal closes its sessions by its end, or by that of a part of it.
    enum class By { Desktop, Portal };

    PortalSession(QDBusConnection bus, QString interface);
    ~PortalSession() override;

    /// Opens the session for the installed program with the identifier `application` ("app.kavrin.Typist"),
    /// whose desktop file the portal must find. A portal that is older than 1.20 knows the program by its
    /// systemd unit or not at all. Throws Error.
    QCoro::Task<> open(QString application);

    /// False before open(), and when the desktop, the user or the portal's end has closed the session.
    [[nodiscard]] bool isOpen() const { return !m_handle.isEmpty(); }

    [[nodiscard]] QString handle() const { return m_handle; }

    /// A question of this session: see PortalRequest::ask(). `arguments` are those between the session and
    /// the options.
    QCoro::Task<PortalRequest::Answer> ask(QString method, QVariantList arguments, QVariantMap options,
                                           std::stop_token withdrawn = {});

    /// Calls a method that answers at once. `arguments` are those after the session. Throws Error where the
    /// portal refuses, and closes the session: it may be one that the portal no longer knows.
    QCoro::Task<> call(QString method, QVariantList arguments);

Q_SIGNALS:
    /// The session is closed, and who has closed it.
    void closed(By by);

private:
    QCoro::Task<> introduce(QString application);
    [[nodiscard]] QDBusMessage message(const QString &method) const;
    void close();
    void onPortalChanged(const QString &name, const QString &previous);
    Q_SLOT void onClosed(const QVariantMap &details);

    QDBusConnection m_bus;
    QString m_interface;
    QDBusServiceWatcher m_portal;
    QString m_handle; ///< the path of its object; empty if it is not open
};

} // namespace kavrin
