// SPDX-License-Identifier: MIT
#pragma once

#include "App/DictationSignals.h"
#include "dictation/DictationBridge.h"
#include "dictation/Dictations.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusServiceWatcher>
#include <QObject>

namespace kavrin
{

/// Dictation for programs on the session bus, such as kavrinctl. It writes nothing into the shared suite, so
/// it works whatever the suite does. Each method is answered when it has taken effect, or with the error
/// app.kavrin.Kavrin.Error.Refused and a reason for the user. Main thread only.
class DictationBus : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "app.kavrin.Dictation")
    Q_PROPERTY(QString Version READ version CONSTANT)

public:
    /// The object's path below the application's name.
    static QString path() { return QStringLiteral("/app/kavrin/Kavrin/Dictation"); }

    /// All must outlive this object.
    DictationBus(DictationBridge &bridge, Dictations &dictations, DictationSignals &signs,
                 QDBusConnection bus = QDBusConnection::sessionBus());

    /// The version of the program that runs. After an upgrade it may be an older one than that on the disk.
    [[nodiscard]] static QString version() { return QStringLiteral(KAVRIN_VERSION); }

    /// The interface as other programs call it. Start, Toggle and Again do nothing for a caller that awaits
    /// the answer but has left the bus: its user was told that they have failed.
    Q_SCRIPTABLE Q_SLOT void Start();
    Q_SCRIPTABLE Q_SLOT void Stop();
    Q_SCRIPTABLE Q_SLOT void Toggle();
    Q_SCRIPTABLE Q_SLOT void Cancel();
    Q_SCRIPTABLE Q_SLOT void Again();
    Q_SCRIPTABLE Q_SLOT QString State() const; ///< Dictations::activity()
    Q_SCRIPTABLE Q_SLOT QString TakeFailure(); ///< Dictations::takeFailure()
    Q_SCRIPTABLE Q_SLOT qulonglong Commanded() const; ///< Dictations::commanded()

    /// How the dictation of that number ended, once it has: the "tStamp" of its transcript and "", or 0 and
    /// why it has none, which is "" if the user has cancelled it. Refuses a number that it does not know.
    Q_SCRIPTABLE Q_SLOT double Outcome(qulonglong number, QString &failure);

    /// For a program that puts the text of that dictation where the user wants it: shows its stages, until
    /// the program says that the text is there or, in `problem`, where else it is. Both refuse a number that
    /// Kavrin does not know.
    Q_SCRIPTABLE Q_SLOT void Announce(qulonglong number);
    Q_SCRIPTABLE Q_SLOT void Delivered(qulonglong number, const QString &problem);

    /// Whether the user has cancelled that dictation while its text was on its way to where they want it.
    Q_SCRIPTABLE Q_SLOT bool IsGivenUp(qulonglong number) const;

    /// Shows the user why a program that has nothing to show it in began no dictation, or lost one.
    Q_SCRIPTABLE Q_SLOT void Report(const QString &problem);

private:
    [[nodiscard]] bool isAwaited() const;
    void refuseUnknown();
    void answer(const std::optional<Error> &failure);
    void answer(QCoro::Task<std::optional<Error>> outcome);

    DictationBridge &m_bridge;
    Dictations &m_dictations;
    DictationSignals &m_signals;
    QDBusConnection m_bus;
    QDBusServiceWatcher m_announcer; ///< the last one, in case that it ends first
    quint64 m_announced = 0; ///< the number of its dictation
};

} // namespace kavrin
