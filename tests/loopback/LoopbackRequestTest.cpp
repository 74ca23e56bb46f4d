// SPDX-License-Identifier: MIT
#include "loopback/LoopbackRequest.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kavrin
{

namespace
{

using namespace std::string_view_literals;
using Query = std::map<std::string, std::string>;

TEST(LoopbackRequest, ReadsPathAndQueryOfTheFirstLine)
{
    struct Case {
        std::string_view received;
        std::string_view path;
        Query query;
    };
    const std::vector<Case> cases = {
        {"GET /get HTTP/1.1\r\nHost: x\r\n\r\n", "/get", {}},
        {"GET /get HTTP/1.1", "/get", {}},
        {"GET /get", "/get", {}},
        {"  GET   /get  HTTP/1.1\r\n", "/get", {}},
        {"anything /get", "/get", {}},
        {"GET /get\r\n/other", "/get", {}},
        {"GET /get HTTP/1.1\nHost: x\n\n", "/get", {}},
        {"GET /get HTTP/1.1\r\n\r\nbody with \xf0\x9f\x91\x8b and \0"sv, "/get", {}},
        {"GET /%67et HTTP/1.1", "/get", {}},
        {"GET /get%3Fx=1 HTTP/1.1", "/get?x=1", {}},
        {"GET /%FF HTTP/1.1", "", {}},
        {"GET http://localhost:49731/cmd?v=stop HTTP/1.1", "/cmd", {{"v", "stop"}}},
        {"GET /cmd?v=start HTTP/1.1", "/cmd", {{"v", "start"}}},
        {"GET /cmd?v=stop&v=start HTTP/1.1", "/cmd", {{"v", "start"}}},
        {"GET /cmd?v=start&v HTTP/1.1", "/cmd", {{"v", "start"}}},
        {"GET /cmd?v=start&v= HTTP/1.1", "/cmd", {{"v", ""}}},
        {"GET /cmd?v HTTP/1.1", "/cmd", {}},
        {"GET /cmd?v= HTTP/1.1", "/cmd", {{"v", ""}}},
        {"GET /cmd?=start HTTP/1.1", "/cmd", {{"", "start"}}},
        {"GET /cmd?v=a=b HTTP/1.1", "/cmd", {{"v", "a=b"}}},
        {"GET /cmd?&&v=start&& HTTP/1.1", "/cmd", {{"v", "start"}}},
        {"GET /cmd?%76=st%61rt HTTP/1.1", "/cmd", {{"v", "start"}}},
        {"GET /cmd?v=a%26b%3Dc HTTP/1.1", "/cmd", {{"v", "a&b=c"}}},
        {"GET /cmd?v=a+b HTTP/1.1", "/cmd", {{"v", "a+b"}}},
        {"GET /cmd?v=%FF HTTP/1.1", "/cmd", {{"v", ""}}},
        {"GET /cmd?v=1;w=2 HTTP/1.1", "/cmd", {{"v", "1;w=2"}}},
        {"GET /cmd?v=start#v=stop HTTP/1.1", "/cmd", {{"v", "start"}}},
    };
    for (const Case &input : cases) {
        SCOPED_TRACE(input.received);
        const std::optional<LoopbackRequest> request = LoopbackRequest::parse(input.received);
        ASSERT_TRUE(request);
        EXPECT_EQ(request->path, input.path);
        EXPECT_EQ(request->query, input.query);
    }
}

TEST(LoopbackRequest, RefusesWhatHasNoTarget)
{
    const std::vector<std::string_view> cases = {
        "",
        " ",
        "GET",
        "GET ",
        " GET ",
        "/get",
        "\r\nGET /get HTTP/1.1\r\n",
        "GET\r\n/get HTTP/1.1\r\n",
        "GET\t/get\tHTTP/1.1",
        "GET /get\n",
        "GET /a%2 HTTP/1.1",
        "GET /gr\xc3\xbc\xc3\x9f HTTP/1.1",
        "GET /a|b HTTP/1.1",
        "\xff /get",
        "GET /get HTTP/1.1\r\n\r\n\xff",
        "GET /get HTTP/1.1\r\n\r\n\xf0\x9f\x91",
        "GET /get HTTP/1.1\r\n\r\n\xc0\xaf",
        "GET /get HTTP/1.1\r\n\r\n\xed\xa0\x80",
    };
    for (const std::string_view received : cases) {
        SCOPED_TRACE(received);
        EXPECT_FALSE(LoopbackRequest::parse(received));
    }
}

TEST(DecimalNumber, ReadsDecimalNotation)
{
    struct Case {
        std::string_view text;
        double number;
    };
    const std::vector<Case> cases = {
        {"0", 0},           {"-0", -0.0},   {"1700000000.123456", 1700000000.123456},
        {"+1.5", 1.5},      {"-1.5", -1.5}, {"007", 7},
        {"5.", 5},          {".5", 0.5},    {"1e3", 1000},
        {"1E+3", 1000},     {"25e-1", 2.5}, {"1.7976931348623157e308", 1.7976931348623157e308},
        {"5e-324", 5e-324},
    };
    for (const Case &input : cases) {
        SCOPED_TRACE(input.text);
        EXPECT_EQ(decimalNumber(input.text), input.number);
    }
}

TEST(DecimalNumber, RefusesEverythingElse)
{
    const std::vector<std::string_view> texts = {
        "",     "+",    "-",    "+-1",       "-+1",   "--1",    ".",        "e5",    "1e",    "1e+",
        "abc",  "1abc", " 1",   "1 ",        "1,5",   "1_0",    "1'0",      "0x1",   "1.2.3", "nan",
        "-nan", "inf",  "+inf", "-infinity", "1e309", "-1e309", "\xd9\xa1", "1\0"sv,
    };
    for (const std::string_view text : texts) {
        SCOPED_TRACE(text);
        EXPECT_EQ(decimalNumber(text), std::nullopt);
    }
}

} // namespace

} // namespace kavrin
