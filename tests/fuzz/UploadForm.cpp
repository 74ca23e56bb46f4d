// SPDX-License-Identifier: MIT
// A request to the speech service, read as far as its form.
#include "tools/stt/UploadForm.h"

#include "fuzz/FuzzTarget.h"

#include <httplib.h>

#include <string_view>

using namespace kavrin;
using test::require;

namespace
{

constexpr std::size_t largest = 1024;

/// A connection on which a request has come whole.
class Received : public httplib::Stream
{
public:
    explicit Received(std::string_view request) : m_rest(request) { }

    [[nodiscard]] bool is_readable() const override { return true; }
    [[nodiscard]] bool is_writable() const override { return true; }
    ssize_t read(char *data, std::size_t size) override
    {
        const std::size_t taken = m_rest.copy(data, size);
        m_rest.remove_prefix(taken);
        return ssize_t(taken);
    }
    ssize_t write(const char * /*data*/, std::size_t size) override { return ssize_t(size); }
    void get_remote_ip_and_port(std::string & /*address*/, int & /*port*/) const override { }
    void get_local_ip_and_port(std::string & /*address*/, int & /*port*/) const override { }
    [[nodiscard]] socket_t socket() const override { return INVALID_SOCKET; }

private:
    std::string_view m_rest;
};

class Server : public httplib::Server
{
public:
    Server()
    {
        Post("/v1/audio/transcriptions",
             [](const httplib::Request &request, httplib::Response & /*response*/,
                const httplib::ContentReader &read) { check(request, read); });
    }

    void receive(std::string_view request)
    {
        Received connection(request);
        bool isClosed = false;
        process_request(connection, true, isClosed, nullptr);
    }

private:
    static void check(const httplib::Request &request, const httplib::ContentReader &read)
    {
        try {
            const UploadForm form = readUploadForm(request, read, largest);
            require(form.file.size() <= largest, "no more is kept than is taken");
        } catch (const Refusal &refusal) {
            require(refusal.status() == 400 || refusal.status() == 413, "a refusal is the sender's fault");
        }
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static Server server;
    server.receive(std::string_view(reinterpret_cast<const char *>(data), size));
    return 0;
}
