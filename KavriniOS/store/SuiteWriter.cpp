// SPDX-License-Identifier: MIT
#include "store/SuiteWriter.h"

#include "store/Shared.h"

#include <QPromise>

#include <atomic>
#include <memory>
#include <utility>

namespace kavrin
{

namespace
{

/// Null while the calling thread writes.
std::atomic<SuiteWriter *> &current()
{
    static std::atomic<SuiteWriter *> writer = nullptr;
    return writer;
}

} // namespace

SuiteWriter::SuiteWriter() : m_thread([this] { run(); })
{
    current() = this;
}

SuiteWriter::~SuiteWriter()
{
    current() = nullptr;
    {
        const std::scoped_lock lock(m_mutex);
        m_isEnding = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

void SuiteWriter::start(std::function<void()> job)
{
    {
        const std::scoped_lock lock(m_mutex);
        m_jobs.push_back(std::move(job));
    }
    m_changed.notify_one();
}

void SuiteWriter::run()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_isEnding || !m_jobs.empty(); });
        if (m_jobs.empty()) {
            return;
        }
        const std::function<void()> job = std::move(m_jobs.front());
        m_jobs.pop_front();
        lock.unlock();
        job();
        lock.lock();
    }
}

QFuture<std::optional<Error>> SuiteWriter::write(const Changes &changes,
                                                 const std::function<void(bool isStored)> &settled)
{
    return perform([changes](QDeadlineTimer limit) { return Shared::d().write(changes, limit); }, settled);
}

QFuture<std::optional<Error>> SuiteWriter::edit(const QString &key, const UserDefaults::Edit &edit,
                                                const std::function<void(bool isStored)> &settled)
{
    return perform([key, edit](QDeadlineTimer limit) { return Shared::d().edit(key, edit, limit); }, settled);
}

QFuture<std::optional<Error>> SuiteWriter::edit(const QStringList &keys, const UserDefaults::Plan &plan,
                                                const std::function<void(bool isStored)> &settled)
{
    return perform([keys, plan](QDeadlineTimer limit) { return Shared::d().edit(keys, plan, limit); },
                   settled);
}

QFuture<std::optional<Error>> SuiteWriter::perform(const Work &work,
                                                   const std::function<void(bool isStored)> &settled)
{
    const auto promise = std::make_shared<QPromise<std::optional<Error>>>();
    promise->start();
    const auto job = [promise, work, settled, limit = QDeadlineTimer(UserDefaults::patience)] {
        const std::optional<Error> failure = work(limit);
        settled(!failure);
        promise->addResult(failure);
        promise->finish();
    };
    if (SuiteWriter *const writer = current()) {
        writer->start(job);
    } else {
        job();
    }
    return promise->future();
}

} // namespace kavrin
