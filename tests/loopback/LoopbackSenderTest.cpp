// SPDX-License-Identifier: MIT
#include "loopback/LoopbackSender.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace kavrin
{

namespace
{

constexpr std::size_t limit = 200;

struct Case {
    std::string received;
    LoopbackSender sender;
};

void expectSenders(const std::vector<Case> &cases)
{
    for (const Case &input : cases) {
        SCOPED_TRACE(input.received);
        EXPECT_EQ(int(loopbackSender(input.received, limit)), int(input.sender));
    }
}

/// A request with these headers.
std::string with(const std::string &headers)
{
    return "GET /cmd?v=start HTTP/1.1\r\n" + headers + "\r\n\r\n";
}

TEST(LoopbackSender, IsAProgramWithoutHeadersOfABrowser)
{
    expectSenders({
        {"", LoopbackSender::Program},
        {"GET", LoopbackSender::Program},
        {"GET /get", LoopbackSender::Program},
        {"GET /get HTTP/1.1\r\n", LoopbackSender::Program},
        {"GET /get HTTP/1.1\r\n\r\n", LoopbackSender::Program},
        {"GET http://page.example:80/get HTTP/1.1\r\n\r\n", LoopbackSender::Program},
        {with("Accept: */*"), LoopbackSender::Program},
        {with("User-Agent: Mozilla/5.0"), LoopbackSender::Program},
        {with("Referer: http://page.example/"), LoopbackSender::Program},
        {with("X-Origin: http://page.example"), LoopbackSender::Program},
        {with("Origin-X: http://page.example"), LoopbackSender::Program},
        {with("X-Sec-Fetch-Site: none"), LoopbackSender::Program},
        {with("Sec-Fetch: none"), LoopbackSender::Program},
        {with("X: Origin: http://page.example"), LoopbackSender::Program},
        {with("no header at all"), LoopbackSender::Program},
        {with(":"), LoopbackSender::Program},
    });
}

TEST(LoopbackSender, IsABrowserWithAHeaderThatOnlyBrowsersSend)
{
    expectSenders({
        {with("Origin: http://page.example"), LoopbackSender::Browser},
        {with("Origin: null"), LoopbackSender::Browser},
        {with("Origin:"), LoopbackSender::Browser},
        {with("oRIGIN: http://127.0.0.1"), LoopbackSender::Browser},
        {with("Sec-Fetch-Site: cross-site"), LoopbackSender::Browser},
        {with("Sec-Fetch-Site: none"), LoopbackSender::Browser},
        {with("sec-fetch-mode: navigate"), LoopbackSender::Browser},
        {with("Sec-Fetch-Of-Tomorrow: x"), LoopbackSender::Browser},
        {with("Host: localhost\r\nAccept: */*\r\nOrigin: http://page.example"), LoopbackSender::Browser},
        {"GET /get HTTP/1.1\nOrigin: http://page.example\n\n", LoopbackSender::Browser},
        {"GET /get HTTP/1.1\r\nOrigin: http://page.example\r\n", LoopbackSender::Browser},
        {"\r\nOrigin: http://page.example\r\n", LoopbackSender::Browser},
    });
}

TEST(LoopbackSender, IsABrowserWhereTheHostMayBeAPagesOwnName)
{
    expectSenders({
        {with("Host: page.example"), LoopbackSender::Browser},
        {with("Host: page.example:49731"), LoopbackSender::Browser},
        {with("hOST:page.example"), LoopbackSender::Browser},
        {with("Host: \t page.example \t "), LoopbackSender::Browser},
        {with("Host: localhost\r\nHost: page.example"), LoopbackSender::Browser},
        {with("Host: 127.0.0.1.page.example"), LoopbackSender::Browser},
        {with("Host: 127.0.0.1."), LoopbackSender::Browser},
        {with("Host: 127.1"), LoopbackSender::Browser},
        {with("Host: 127.0.0.256"), LoopbackSender::Browser},
        {with("Host: localhost.page.example"), LoopbackSender::Browser},
        {with("Host: page.localhost.example"), LoopbackSender::Browser},
        {with("Host: page.notlocalhost"), LoopbackSender::Browser},
        {with("Host: localhost."), LoopbackSender::Browser},
    });
}

TEST(LoopbackSender, IsABrowserWhereTheHostIsAnAddressThatBrowsersDoNotTakeForThisMachine)
{
    expectSenders({
        {with("Host: 0.0.0.0"), LoopbackSender::Browser},
        {with("Host: 0.0.0.0:49731"), LoopbackSender::Browser},
        {with("Host: [::]:49731"), LoopbackSender::Browser},
        {with("Host: [0::0]"), LoopbackSender::Browser},
        {with("Host: [::ffff:7f00:1]:49731"), LoopbackSender::Browser},
        {with("Host: [::FFFF:127.0.0.1]"), LoopbackSender::Browser},
    });
}

TEST(LoopbackSender, IsAProgramWhereTheHostIsThisMachines)
{
    expectSenders({
        {with("Host:"), LoopbackSender::Program},
        {with("Host: localhost"), LoopbackSender::Program},
        {with("Host: LOCALHOST:49731"), LoopbackSender::Program},
        {with("Host: 127.0.0.1"), LoopbackSender::Program},
        {with("Host: 127.0.0.1:49731"), LoopbackSender::Program},
        {with("Host: 192.168.1.5"), LoopbackSender::Program},
        {with("Host: [::1]"), LoopbackSender::Program},
        {with("Host: [::1]:49731"), LoopbackSender::Program},
        {with("Host: kavrin.localhost"), LoopbackSender::Program},
        {with("Host: Kavrin.LocalHost:49731"), LoopbackSender::Program},
        {with("Host: workstation"), LoopbackSender::Program},
        {with("Host: workstation:49731"), LoopbackSender::Program},
    });
}

TEST(LoopbackSender, IsUnknownWhereTheHeadersDidNotFit)
{
    const std::string line = "GET /get?" + std::string(limit, 'x');
    const std::string headers = with("Accept: " + std::string(limit, 'x'));
    const std::string full = with("X: " + std::string(limit - with("X: ").size(), 'x'));
    expectSenders({
        {line.substr(0, limit), LoopbackSender::Unknown},
        {line.substr(0, limit - 1), LoopbackSender::Program},
        {headers.substr(0, limit), LoopbackSender::Unknown},
        {full, LoopbackSender::Program},
        {full.substr(0, limit - 2) + "xx", LoopbackSender::Unknown},
        {with("Origin: x\r\nX: " + std::string(limit, 'x')).substr(0, limit), LoopbackSender::Browser},
    });
}

TEST(LoopbackSender, TakesABodyForNoHeaders)
{
    expectSenders({
        {with("Host: localhost") + "Origin: http://page.example\r\n\r\n", LoopbackSender::Program},
    });
}

} // namespace

} // namespace kavrin
