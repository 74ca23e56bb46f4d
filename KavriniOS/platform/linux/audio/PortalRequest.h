// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QFuture>
#include <QObject>
#include <QPromise>
#include <QString>
#include <QVariantMap>

namespace kavrin
{

/// One question to the desktop's portal (org.freedesktop.portal.Request). The answer is a signal of an object
/// that the portal makes for the question. Both sides know its path in advance, so the answer cannot come
/// before this object listens. Main thread only.
class PortalRequest : public QObject
{
    Q_OBJECT

public:
    static constexpr uint granted = 0; ///< 1 is refused by the user
    static constexpr uint ended = 2; ///< in another way

    /// The portal's name on the bus.
    static QString service();

    /// Listens from now on.
    explicit PortalRequest(const QDBusConnection &bus);

    /// The option "handle_token" of the question.
    [[nodiscard]] const QString &token() const { return m_token; }

    /// Listens to the path that the portal gave, if it is not the expected one (before version 0.9).
    void follow(const QString &actualPath);

    /// Takes the question back. The answer is `ended`.
    void close();

    /// The portal's answer; `granted` if the portal vanishes first.
    [[nodiscard]] QFuture<uint> answer() const { return m_answer.future(); }

private:
    [[nodiscard]] QString expectedPath() const;
    void listen(const QString &path);
    void finish(uint result);
    Q_SLOT void response(uint result, const QVariantMap &details);

    QDBusConnection m_bus;
    QDBusServiceWatcher m_portal;
    QString m_token;
    QString m_path; ///< of the object of the question
    bool m_isClosed = false;
    QPromise<uint> m_answer;
};

} // namespace kavrin
