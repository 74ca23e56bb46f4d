// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

#include <chrono>
#include <functional>
#include <optional>

namespace kavrin
{

/// The one running instance of the application. Desktops and later launches hand their requests over to it:
/// org.freedesktop.Application on the session bus, see "D-Bus Activation" in
/// https://specifications.freedesktop.org/desktop-entry-spec/latest/. Main thread only.
///
/// The compositor or the window manager asks for an activation token before it lets a window come to the
/// front. It is empty if the caller had none.
class ApplicationBus : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    enum class Claim {
        First, ///< this process is the instance and gets the requests
        Taken, ///< another process is the instance: see handOver()
        NoBus, ///< no bus can register the name, so nobody can know
    };
    Q_ENUM(Claim)

    /// Tells the caller of an action that it is done, or what went wrong.
    using Answer = std::function<void(const std::optional<Error> &failure)>;

    static QString defaultName() { return QStringLiteral("app.kavrin.Kavrin"); }

    /// `name` is the application's identifier, `bus` the session bus.
    explicit ApplicationBus(QString name = defaultName(),
                            QDBusConnection bus = QDBusConnection::sessionBus());

    /// Gives the name back.
    ~ApplicationBus() override;

    /// Gives the name back now: the next launch becomes the instance.
    void release();

    /// Becomes the instance if there is none. No request from then on is lost if the signals are connected
    /// before the event loop runs.
    [[nodiscard]] Claim claim();

    /// From now on, answers every request to come to the front with the error `reason`.
    void refuseToActivate(const QString &reason) { m_refusal = reason; }

    /// Gives the instance these URLs to open. Without URLs, asks it to come to the front. Hands over the
    /// activation token with which this process was launched (XDG_ACTIVATION_TOKEN or DESKTOP_STARTUP_ID of
    /// its environment). Waits for the answer. Starts no instance. Returns the empty string, or why that
    /// failed, in words for the user.
    static QString handOver(const QStringList &urls,
                            std::chrono::milliseconds timeout = std::chrono::seconds(5),
                            const QString &name = defaultName(),
                            const QDBusConnection &bus = QDBusConnection::sessionBus());

    /// The interface as other programs call it.
    Q_SCRIPTABLE Q_SLOT void Activate(const QVariantMap &platformData);
    Q_SCRIPTABLE Q_SLOT void Open(const QStringList &urls, const QVariantMap &platformData);
    Q_SCRIPTABLE Q_SLOT void ActivateAction(const QString &action, const QVariantList &parameters,
                                            const QVariantMap &platformData);

Q_SIGNALS:
    /// The application must come to the front.
    void activated(const QString &activationToken);

    /// The application must open URLs, which are unchanged.
    void openRequested(const QStringList &urls, const QString &activationToken);

    /// The application must run an action of its desktop entry, and call `answer` when it has.
    void actionRequested(const QString &name, const QVariantList &parameters, const QString &activationToken,
                         const kavrin::ApplicationBus::Answer &answer);

private:
    QString m_name;
    QDBusConnection m_bus;
    QString m_refusal; ///< empty if it comes to the front
};

} // namespace kavrin
