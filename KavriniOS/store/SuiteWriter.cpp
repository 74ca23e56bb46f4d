// SPDX-License-Identifier: MIT
#include "store/SuiteWriter.h"

#include "store/Shared.h"

#include <QPromise>

#include <atomic>
#include <memory>

namespace kavrin
{

namespace
{

/// The thread that writes; null if the calling thread does.
std::atomic<QThreadPool *> &writingThread()
{
    static std::atomic<QThreadPool *> thread = nullptr;
    return thread;
}

} // namespace

SuiteWriter::SuiteWriter()
{
    m_thread.setMaxThreadCount(1);
    writingThread() = &m_thread;
}

SuiteWriter::~SuiteWriter()
{
    writingThread() = nullptr;
    m_thread.waitForDone();
}

QFuture<std::optional<Error>> SuiteWriter::write(const Changes &changes)
{
    const auto promise = std::make_shared<QPromise<std::optional<Error>>>();
    promise->start();
    const auto job = [promise, changes, limit = QDeadlineTimer(UserDefaults::patience)] {
        promise->addResult(Shared::d().write(changes, limit));
        promise->finish();
    };
    if (QThreadPool *const thread = writingThread()) {
        thread->start(job);
    } else {
        job();
    }
    return promise->future();
}

} // namespace kavrin
