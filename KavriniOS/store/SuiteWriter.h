// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UserDefaults.h"

#include <QFuture>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace kavrin
{

/// Writes to the shared suite (Shared::d()) for a main thread that must never wait for another process. It
/// makes all writes in the order in which it gets them. Each write ends, or fails, at most
/// UserDefaults::patience after that.
///
/// While there is a SuiteWriter, it writes on its own thread. Without one, as in command-line tools, each
/// call writes in the calling thread and has finished when it returns.
class SuiteWriter
{
public:
    /// There is one at a time.
    SuiteWriter();

    /// Returns when it has written everything that it was given.
    ~SuiteWriter();
    Q_DISABLE_COPY_MOVE(SuiteWriter)

    /// Makes the changes as one transaction, in their turn, even if nobody waits for the result. The result
    /// says what went wrong, if anything. `settled` is called before that, in the thread that writes. Safe
    /// from any thread.
    static QFuture<std::optional<Error>>
    write(const Changes &changes, const std::function<void(bool isStored)> &settled = [](bool) { });

    /// Like write(), but stores what `edit` makes of the key's value: see UserDefaults::edit().
    static QFuture<std::optional<Error>> edit(const QString &key, const UserDefaults::Edit &edit,
                                              const std::function<void(bool isStored)> &settled);

    /// Like write(), but makes the changes that `plan` makes of the keys' values: see UserDefaults::edit().
    static QFuture<std::optional<Error>> edit(
        const QStringList &keys, const UserDefaults::Plan &plan,
        const std::function<void(bool isStored)> &settled = [](bool) { });

private:
    using Work = std::function<std::optional<Error>(QDeadlineTimer limit)>;
    static QFuture<std::optional<Error>> perform(const Work &work,
                                                 const std::function<void(bool isStored)> &settled);
    void start(std::function<void()> job);
    void run();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::function<void()>> m_jobs;
    bool m_isEnding = false;
    std::thread m_thread;
};

} // namespace kavrin
