// SPDX-License-Identifier: MIT
#include "loopback/LoopbackListening.h"

#include "platform/Descriptors.h"

#include <asio/ip/v6_only.hpp>
#include <asio/system_error.hpp>

#include <cerrno>

namespace kavrin
{

namespace
{

using asio::ip::tcp;

tcp::acceptor listenOn(asio::io_context &context, const asio::ip::address &address, std::uint16_t port)
{
    const tcp::endpoint endpoint(address, port);
    tcp::acceptor acceptor(context, endpoint.protocol());
    setCloseOnExec(acceptor.native_handle());
    acceptor.set_option(tcp::acceptor::reuse_address(true));
    if (address.is_v6()) {
        acceptor.set_option(asio::ip::v6_only(true));
    }
    acceptor.bind(endpoint);
    acceptor.listen();
    return acceptor;
}

bool saysThatThereIsNoIpv6(const asio::error_code &error)
{
    return error.value() == EAFNOSUPPORT || error.value() == EADDRNOTAVAIL;
}

} // namespace

std::vector<tcp::acceptor> listenOnLoopback(asio::io_context &context, std::uint16_t port)
{
    std::vector<tcp::acceptor> acceptors;
    acceptors.push_back(listenOn(context, asio::ip::address_v4::loopback(), port));
    port = acceptors.front().local_endpoint().port();
    try {
        acceptors.push_back(listenOn(context, asio::ip::address_v6::loopback(), port));
    } catch (const asio::system_error &error) {
        if (!saysThatThereIsNoIpv6(error.code())) {
            throw;
        }
    }
    return acceptors;
}

} // namespace kavrin
