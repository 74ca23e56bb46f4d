// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>

#include <exception>
#include <optional>
#include <utility>

namespace kavrin::ctl
{

/// Waits for the end of `task` and returns its result, or throws what it threw. (QCoro::waitFor() alone does
/// not return from a task that throws.)
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
    QCoro::waitFor(run());
    if (failure) {
        std::rethrow_exception(failure);
    }
    return *std::move(result);
}

} // namespace kavrin::ctl
