// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QCoroTask>
#include <QDBusConnection>
#include <QVariantList>

#include <chrono>

namespace kavrin
{

/// Dictation as Kavrin offers it on the session bus; kavrin(1) describes the methods. Each task throws Error
/// if Kavrin is not there, ends, or does not answer in time. Main thread only.
class RunningKavrin
{
public:
    /// How a dictation has ended.
    struct Outcome {
        double stamp = 0; ///< "tStamp" of its transcript; 0 if it has none
        QString failure; ///< why it has none; empty if it was cancelled
    };

    explicit RunningKavrin(QDBusConnection bus = QDBusConnection::sessionBus());

    /// The number of the latest dictation that a command in the suite has begun. Starts Kavrin if it does not
    /// run.
    QCoro::Task<quint64> commanded();

    /// How the dictation ended, when it has. Kavrin may take as long as it likes.
    QCoro::Task<Outcome> outcome(quint64 number);

    /// "starting", "recording", "working" or "idle".
    QCoro::Task<QString> activity();

    /// Ends the recording that runs. Nothing happens if there is none.
    QCoro::Task<> stop();

    /// Gives up the recording that runs, or else the transcriptions. Nothing happens if there is none.
    QCoro::Task<> cancel();

    /// Asks Kavrin to show the user how the dictation goes, because nobody looks at its window.
    void announce(quint64 number);

    /// Whether the user has cancelled the dictation in Kavrin's notification after its text had come. False
    /// as well if Kavrin does not answer.
    QCoro::Task<bool> isGivenUp(quint64 number);

    /// Tells Kavrin that the text of the dictation is where the cursor is. With a `problem`, that it is on
    /// the clipboard only, and why: a sentence for the user.
    void deliver(quint64 number, const QString &problem);

    /// Shows the user why the key does nothing: a sentence. Kavrin does that, or else, if it does not answer,
    /// this process. It never fails.
    QCoro::Task<> report(QString problem);

private:
    enum class IfAbsent { Start, Fail };
    QCoro::Task<QVariantList> call(QString method, QVariantList arguments, std::chrono::milliseconds limit,
                                   IfAbsent ifAbsent = IfAbsent::Fail);
    QCoro::Task<> callUnlessRefused(QString method);
    void notify(const QString &method, const QVariantList &arguments);

    QDBusConnection m_bus;
};

} // namespace kavrin
