// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QDeadlineTimer>
#include <QEventLoop>

#include <chrono>
#include <exception>
#include <functional>
#include <optional>

namespace kavrin::test
{

/// Runs the event loop until `condition` holds. False when it still does not after `limit`, which is there to
/// end a test that has failed, not to time one.
bool waitUntil(const std::function<bool()> &condition, std::chrono::seconds limit = std::chrono::seconds(30));

/// Runs the event loop until `task` ends; returns its result or throws what it threw. (QCoro::waitFor() hangs
/// on a task that throws.)
template <typename T> T await(QCoro::Task<T> task)
{
    std::optional<T> result;
    std::exception_ptr failure;
    const auto run = [&]() -> QCoro::Task<> {
        try {
            result = co_await task;
        } catch (...) {
            failure = std::current_exception();
        }
    };
    const QCoro::Task<> running = run();
    if (!waitUntil([&] { return result || failure; })) {
        // The task still refers to what lives here, so there is no going on.
        qFatal("the task did not end");
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
    return *std::move(result);
}

} // namespace kavrin::test
