// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryFile>

#include <csignal>
#include <sys/types.h>

namespace kavrin::test
{

/// A running program that ends with this object at the latest, and with the thread that started it: a test
/// that is killed takes its programs along.
///
/// Not QProcess, because ThreadSanitizer cannot follow how that forks.
class ChildProcess
{
public:
    /// Finds `program` as a shell does. Throws std::runtime_error where it cannot be started; one that is not
    /// there ends at once, having said so.
    ChildProcess(const QString &program, const QStringList &arguments);

    /// Kills the program.
    ~ChildProcess();

    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;

    [[nodiscard]] bool isRunning();

    /// Runs the event loop until the program has ended; true where its exit code is 0.
    [[nodiscard]] bool succeeds();

    /// Returns when the program stands still.
    void freeze();

    /// All that the program has written so far, errors included.
    [[nodiscard]] QString output();

private:
    QTemporaryFile m_output;
    pid_t m_id = 0;
    bool m_ended = false;
    int m_status = 0; ///< as waitpid() tells it, once the program has ended
};

} // namespace kavrin::test
