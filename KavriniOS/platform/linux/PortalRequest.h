// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QFuture>
#include <QObject>
#include <QPromise>
#include <QString>
#include <QVariantMap>

#include <stop_token>

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

    struct Answer {
        uint result = ended;
        QVariantMap details;
    };

    /// The portal's name on the bus.
    static QString service();

    /// The names of the parts that desktops bring, for a watcher. A part that ends takes its sessions along,
    /// and the portal tells nobody: it takes further calls and does nothing.
    static QString parts();

    /// The path of the object that has the portal's interfaces.
    static QString path();

    /// A call of a method of the portal.
    static QDBusMessage message(const QString &interface, const QString &method);

    /// A new token, for the name of an object that the portal makes.
    static QString newToken();

    /// Asks by the call of a method whose last argument is `options`, and resumes with the answer. A request
    /// to stop `withdrawn` takes the question back: the result is `ended`. If the portal vanishes, or another
    /// one takes its place, the result is `granted`, without details. Throws Error where the portal does not
    /// take the question.
    static QCoro::Task<Answer> ask(QDBusConnection bus, QDBusMessage question, QVariantMap options,
                                   std::stop_token withdrawn);

private:
    explicit PortalRequest(const QDBusConnection &bus);

    [[nodiscard]] QString expectedPath() const;
    void listen(const QString &path);
    void follow(const QString &actualPath);
    void close();
    void onPortalChanged(const QString &name, const QString &previous);
    void finish(const Answer &answer);
    Q_SLOT void response(uint result, const QVariantMap &details);

    QDBusConnection m_bus;
    QDBusServiceWatcher m_portal;
    QString m_token = newToken();
    QString m_path; ///< of the object of the question
    bool m_isClosed = false;
    QPromise<Answer> m_answer;
};

} // namespace kavrin
