// SPDX-License-Identifier: MIT
#include "platform/linux/network/NetworkUrlSession.h"
#include "support/ScriptedServer.h"
#include "support/Wait.h"
#include "transcription/TranscriptionRequest.h"

#include <gtest/gtest.h>

namespace kavrin
{
namespace
{

using namespace Qt::StringLiterals;
using test::ScriptedServer;

/// The target of the request line that reaches `server`.
QByteArray sentTarget(const UrlRequest &request, ScriptedServer &server)
{
    server.add(test::answer("200 OK", ""));
    NetworkUrlSession session;
    test::await(session.data(request));
    return server.received().at(0).target;
}

TEST(RequestOnTheWire, NamesACustomAddressAsItStands)
{
    ScriptedServer server;
    const QString address = u"http://127.0.0.1:%1/%7Eme/a%2fb/../%41?x=%7e&y=%c3%A9"_s;
    const UrlRequest request =
        transcriptionRequest(MultipartService{address.arg(server.port()), {}, {}}, u"B"_s, "sound");
    EXPECT_EQ(sentTarget(request, server), "/%7Eme/a%2fb/../%41?x=%7e&y=%c3%A9");
}

TEST(RequestOnTheWire, NamesAGeminiModelAndKeyAsTheyStand)
{
    const test::TrustTheCertificate trust;
    ScriptedServer server(ScriptedServer::Protocol::Https);
    const GeminiService service{u"localhost:%1"_s.arg(server.port()), u"model%2d%41"_s, u"AI%7Eza%c3+/=="_s};
    EXPECT_EQ(sentTarget(transcriptionRequest(service, "sound"), server),
              "/v1beta/models/model%2d%41:generateContent?key=AI%7Eza%c3+/==");
}

} // namespace
} // namespace kavrin
