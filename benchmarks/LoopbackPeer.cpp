// SPDX-License-Identifier: MIT
// The loopback server's work with cpp-httplib: gives Kavrin's answers on port 49731 of 127.0.0.1.
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
        std::ignore = kavrin::Shared::d().set(write->key, write->value); // a failure changes no answer
    }
    const std::string whole = kavrin::loopbackAnswer(parsed);
    response.set_content(whole.substr(whole.find("\r\n\r\n") + 4), "application/json");
}

} // namespace

int main()
{
    httplib::Server server;
    server.set_keep_alive_max_count(1);
    // With its own options, the port stays taken for a minute after the last connection.
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
