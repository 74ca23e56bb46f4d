// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

#include <chrono>

namespace kavrin
{

/// The one running instance of the application, to which desktops and later launches hand over what they
/// want of it: org.freedesktop.Application on the session bus, see "D-Bus Activation" in
/// https://specifications.freedesktop.org/desktop-entry-spec/latest/. Main thread only.
///
/// The activation tokens are what the compositor or the window manager wants to see before it lets a window
/// come to the front; empty where the caller had none.
class ApplicationBus : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    enum class Claim {
        First, ///< this process is the instance, and is told what is wanted
        Taken, ///< another one is: see handOver()
        NoBus, ///< there is no bus that takes the name, so nobody can know
    };
    Q_ENUM(Claim)

    static QString defaultName() { return QStringLiteral("app.kavrin.Kavrin"); }

    /// `name` is the application's identifier, `bus` the session bus.
    explicit ApplicationBus(QString name = defaultName(),
                            QDBusConnection bus = QDBusConnection::sessionBus());

    /// Gives the name back.
    ~ApplicationBus() override;

    /// Gives the name back now: the next launch becomes the instance.
    void release();

    /// Becomes the instance where there is none. Nothing that is sent from then on is lost, if the signals
    /// are connected before the event loop runs.
    [[nodiscard]] Claim claim();

    /// Whoever wants the application to come to the front is told `reason` instead, from now on.
    void refuseToActivate(const QString &reason) { m_refusal = reason; }

    /// Gives the instance these URLs to open, or asks it to come to the front where there are none, with the
    /// activation token that this process has been launched with (XDG_ACTIVATION_TOKEN or
    /// DESKTOP_STARTUP_ID of its environment). Waits for the answer. Does not start one. Returns the empty
    /// string, or in words for a person why that failed.
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
    /// The application is to come to the front.
    void activated(const QString &activationToken);

    /// It is to open URLs, given exactly as they came.
    void openRequested(const QStringList &urls, const QString &activationToken);

    /// It is to do one of the actions of its desktop entry.
    void actionRequested(const QString &name, const QVariantList &parameters, const QString &activationToken);

private:
    QString m_name;
    QDBusConnection m_bus;
    QString m_refusal; ///< empty where it activates
};

} // namespace kavrin
