// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QStringList>

#include <vector>

namespace kavrin::test
{

/// Stands for logind and its inhibitor locks (https://systemd.io/INHIBITOR_LOCKS/). Each lock is the writing
/// end of a pipe, whose reading end tells when the lock has been let go.
class FakeLogind : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")

public:
    enum class Answer {
        AtOnce,
        WhenTold, ///< with answer()
        Refusal,
    };

    FakeLogind(QDBusConnection bus, Answer answer);
    ~FakeLogind() override;

    /// The arguments of each call of Inhibit.
    [[nodiscard]] const std::vector<QStringList> &calls() const { return m_calls; }

    /// Gives the lock that the last call has asked for.
    void answer();

    /// Whether the lock that was given as the `number`th, counted from 0, is still held by anyone.
    [[nodiscard]] bool isHeld(std::size_t number) const;

    /// Sends the signal `name` ("PrepareForSleep").
    void announce(const QString &name, bool begins);

    Q_SLOT QDBusUnixFileDescriptor Inhibit(const QString &what, const QString &who, const QString &why,
                                           const QString &mode);

private:
    QDBusUnixFileDescriptor makeLock();

    QDBusConnection m_bus;
    Answer m_answer;
    QDBusMessage m_lastCall;
    std::vector<QStringList> m_calls;
    std::vector<int> m_readingEnds;
};

} // namespace kavrin::test
