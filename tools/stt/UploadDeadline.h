// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <thread>

namespace httplib
{
struct Request;
}

namespace kavrin
{

/// Limits the time in which the body of a request may come. httplib itself waits for one that trickles in for
/// as long as some byte of it comes every few seconds.
class UploadDeadline
{
public:
    /// The connection of `request` is shut down if this lives longer than `limit`: then reading ends, and
    /// there is no answer. Make it in the handler of the request, and destroy it there after reading.
    UploadDeadline(const httplib::Request &request, std::chrono::milliseconds limit);

private:
    std::jthread m_watch;
};

} // namespace kavrin
