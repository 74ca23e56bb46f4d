// SPDX-License-Identifier: MIT
#include "tools/stt/UploadDeadline.h"

#include <httplib.h>

#include <filesystem>
#include <semaphore>
#include <stop_token>
#include <string>

#include <arpa/inet.h>
#include <sys/socket.h>

namespace kavrin
{
namespace
{

bool isFrom(const httplib::Request &request, int descriptor)
{
    sockaddr_in peer{};
    socklen_t size = sizeof peer;
    in_addr sender{};
    return ::getpeername(descriptor, reinterpret_cast<sockaddr *>(&peer), &size) == 0
        && peer.sin_family == AF_INET && ntohs(peer.sin_port) == request.remote_port
        && ::inet_pton(AF_INET, request.remote_addr.c_str(), &sender) == 1
        && peer.sin_addr.s_addr == sender.s_addr;
}

/// The descriptor of the connection on which `request` comes, which httplib does not tell; -1 if there is
/// none.
int connectionOf(const httplib::Request &request)
{
    std::error_code none;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd", none)) {
        const int descriptor = std::stoi(entry.path().filename());
        if (isFrom(request, descriptor)) {
            return descriptor;
        }
    }
    return -1;
}

/// Whether `limit` passed before the request to stop.
bool passes(std::chrono::milliseconds limit, const std::stop_token &stop)
{
    std::binary_semaphore stopped(0);
    const std::stop_callback end(stop, [&stopped] { stopped.release(); });
    return !stopped.try_acquire_for(limit);
}

} // namespace

UploadDeadline::UploadDeadline(const httplib::Request &request, std::chrono::milliseconds limit)
    : m_watch([connection = connectionOf(request), limit](const std::stop_token &isRead) {
          if (passes(limit, isRead)) {
              ::shutdown(connection, SHUT_RDWR);
          }
      })
{
}

} // namespace kavrin
