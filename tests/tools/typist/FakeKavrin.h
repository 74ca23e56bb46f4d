// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>
#include <QTimer>

#include <functional>

namespace kavrin::test
{

/// Kavrin as the typist sees it on the bus and in the suite. It records as soon as it has taken a "start",
/// and transcribes as soon as it is stopped, until the test says how that ends.
class FakeKavrin : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "app.kavrin.Dictation")

public:
    explicit FakeKavrin(QDBusConnection bus);
    ~FakeKavrin() override;

    bool takesCommands = true;
    bool clearsCommands = true; ///< otherwise they lie in the suite after it has acted on them
    bool isGivenUp = false;
    QString activity = QStringLiteral("idle");
    bool isBegunElsewhere = false; ///< another keyboard begins a dictation as soon as the state was told
    std::function<void()> beforeAnswer = [] { }; ///< to a "Stop", which is acted on by then, or to "State"
    QStringList asked; ///< what other programs have wanted of it
    QStringList problems; ///< of what was delivered, and those reported, in order

    /// The transcription is over and has brought a text.
    void transcribe(const QString &text, double stamp);

    /// The dictation is over without a text.
    void fail(const QString &reason);

    Q_SCRIPTABLE Q_SLOT qulonglong Commanded() const { return m_number; }
    Q_SCRIPTABLE Q_SLOT QString State();
    Q_SCRIPTABLE Q_SLOT double Outcome(qulonglong number, QString &failure);
    Q_SCRIPTABLE Q_SLOT void Stop();
    Q_SCRIPTABLE Q_SLOT void Cancel();
    Q_SCRIPTABLE Q_SLOT void Announce(qulonglong number);
    Q_SCRIPTABLE Q_SLOT void Delivered(qulonglong number, const QString &problem);
    Q_SCRIPTABLE Q_SLOT bool IsGivenUp(qulonglong /*number*/) const { return isGivenUp; }
    Q_SCRIPTABLE Q_SLOT void Report(const QString &problem);

private:
    void poll();
    void begin();
    void answer(double stamp, const QString &failure);

    QDBusConnection m_bus;
    QTimer m_timer;
    qulonglong m_number = 7;
    QDBusMessage m_waiting; ///< the call for the outcome
};

} // namespace kavrin::test
