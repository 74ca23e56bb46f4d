// SPDX-License-Identifier: MIT
// The loopback server's work behind cpp-httplib: answers on port 49731 of 127.0.0.1 what Kavrin's would.
#include "loopback/LoopbackAnswer.h"
#include "store/Shared.h"

#include <httplib.h>

#include <cstdio>
#include <optional>
#include <string>
#include <tuple>

namespace
{

constexpr int port = 49731;

void answer(const httplib::Request &request, httplib::Response &response)
{
    const std::string received = "GET " + request.target + " HTTP/1.1\r\n\r\n";
    const std::optional<kavrin::LoopbackRequest> parsed = kavrin::LoopbackRequest::parse(received);
    if (const auto write = kavrin::loopbackWrite(parsed)) {
        std::ignore = kavrin::Shared::d().set(write->key, write->value); // the answer is the same
    }
    const std::string whole = kavrin::loopbackAnswer(parsed);
    response.set_content(whole.substr(whole.find("\r\n\r\n") + 4), "application/json");
}

} // namespace

int main()
{
    httplib::Server server;
    server.set_keep_alive_max_count(1);
    // Its own options leave a port taken for a minute after the last connection.
    server.set_socket_options([](socket_t socket) {
        const int yes = 1;
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    server.Get(".*", answer);
    if (!server.listen("127.0.0.1", port)) {
        std::fputs("The port is taken.\n", stderr);
        return 1;
    }
    return 0;
}
