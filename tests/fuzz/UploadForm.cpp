// SPDX-License-Identifier: MIT
// A request to the speech service, read as far as its form.
#include "tools/stt/UploadForm.h"

#include "fuzz/FuzzTarget.h"

#include <asio/ip/tcp.hpp>
#include <asio/read.hpp>
#include <asio/write.hpp>
#include <httplib.h>

#include <QtGlobal>

#include <string>
#include <string_view>
#include <thread>

using namespace kavrin;
using asio::ip::tcp;
using test::require;

namespace
{

constexpr std::size_t largest = 1024;

void check(const httplib::Request &request, const httplib::ContentReader &read)
{
    try {
        const UploadForm form = readUploadForm(request, read, largest);
        require(form.file.size() <= largest, "no more is kept than is taken");
    } catch (const Refusal &refusal) {
        require(refusal.status() == 400 || refusal.status() == 413, "a refusal is the sender's fault");
    }
}

/// Calls again what libFuzzer's clock has interrupted.
template <typename Call> void finish(asio::error_code &outcome, const Call &call)
{
    do {
        call();
    } while (outcome == asio::error::interrupted);
}

/// The library's own server, so that a form is read as the service reads it.
class Service
{
public:
    Service()
    {
        m_server.set_keep_alive_max_count(1);
        m_server.Post("/v1/audio/transcriptions",
                      [](const httplib::Request &request, httplib::Response & /*response*/,
                         const httplib::ContentReader &read) { check(request, read); });
        m_address.port(static_cast<asio::ip::port_type>(m_server.bind_to_any_port("127.0.0.1")));
        m_serving = std::jthread([this] { m_server.listen_after_bind(); });
    }

    ~Service() { m_server.stop(); }

    Q_DISABLE_COPY_MOVE(Service)

    /// Returns when the server has closed the connection, on which nothing comes after the request.
    void receive(std::string_view request) const
    {
        asio::io_context context;
        tcp::socket connection(context);
        asio::error_code outcome;
        finish(outcome, [&] { return connection.connect(m_address, outcome); });
        require(!outcome, "the server takes every connection");
        // The server may close the connection as early as it likes.
        asio::write(connection, asio::buffer(request), outcome);
        finish(outcome, [&] { return connection.shutdown(tcp::socket::shutdown_send, outcome); });
        std::string answer;
        finish(outcome, [&] { return asio::read(connection, asio::dynamic_buffer(answer), outcome); });
    }

private:
    httplib::Server m_server;
    tcp::endpoint m_address{asio::ip::address_v4::loopback(), 0};
    std::jthread m_serving;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const Service service;
    service.receive(std::string_view(reinterpret_cast<const char *>(data), size));
    return 0;
}
