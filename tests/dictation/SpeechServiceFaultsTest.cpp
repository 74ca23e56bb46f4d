// SPDX-License-Identifier: MIT
#include "RealDictation.h"
#include "support/PrivateSoundServer.h"

#include <tuple>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;
using Protocol = ScriptedServer::Protocol;
using Then = ScriptedAnswer::Then;

const QByteArray chunkedHead = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
const std::string whatToDo = " Check the service's address and key, or try again later.";

QUrl closedAddress()
{
    return ScriptedServer().url(u"/path?key=secret"_s);
}

/// Everything that a keyboard or a person can have of the last transcript.
auto handedOver(const RealRecorderPlatform &machine)
{
    return std::tuple(Shared::d().object(u"transcript"_s), Shared::d().object(u"tStamp"_s),
                      machine.pasteboard.string);
}

/// Speech has been transcribed once, by a service that works.
class SpeechServiceFaults : public testing::Test
{
protected:
    SpeechServiceFaults()
    {
        m_soundServer.start();
        m_dictation.expectTheNextOneWorks();
    }

    void dictateTo(const QUrl &service)
    {
        useService(service);
        m_dictation.start();
        m_dictation.stop();
    }

    void expectFault(const QUrl &service, const std::string &description)
    {
        const auto before = handedOver(m_dictation.machine);
        dictateTo(service);
        EXPECT_EQ(m_dictation.message(), "Error: " + description);
        EXPECT_EQ(shared(u"dictationState"_s), "idle");
        EXPECT_EQ(handedOver(m_dictation.machine), before);
        m_dictation.expectTheNextOneWorks();
    }

    void expectTranscript(const QUrl &service, const std::string &text)
    {
        dictateTo(service);
        EXPECT_EQ(m_dictation.message(), text);
        EXPECT_EQ(shared(u"dictationState"_s), "done");
        EXPECT_EQ(shared(u"transcript"_s), text);
    }

    PrivateSoundServer m_soundServer;
    RealDictation m_dictation;
};

} // namespace

TEST_F(SpeechServiceFaults, AnAddressWhereNoServiceIsIsSaid)
{
    const struct {
        QUrl service;
        std::string description;
    } cases[] = {
        {closedAddress(), "The connection to 127.0.0.1 was refused."},
        {QUrl(u"http://"_s + nobodysHost + u"/path?key=secret"_s),
         "No server named " + nobodysHost.toStdString()
             + " was found; check the address and the network connection."},
        {QUrl(u"file:///etc/passwd"_s), "Only addresses that begin with http:// or https:// can be reached."},
        {QUrl(), "Bad endpoint URL"},
    };
    for (const auto &[service, description] : cases) {
        SCOPED_TRACE(service.toString().toStdString());
        expectFault(service, description);
    }
}

TEST_F(SpeechServiceFaults, AnAnswerWithoutTranscriptIsSaid)
{
    const std::string cutShort = "127.0.0.1 closed the connection before its whole answer had come.";
    const std::string empty = "The service's answer is empty." + whatToDo;
    const auto notJson = [](const std::string &reason) {
        return "The service's answer is not JSON: " + reason + "." + whatToDo;
    };
    const struct {
        const char *what;
        ScriptedAnswer answer;
        std::string description;
    } cases[] = {
        {"nothing", {"", Then::Close}, cutShort},
        {"half a head", {"HTTP/1.1 200 OK\r\nContent-", Then::Close}, cutShort},
        {"half a body", {"HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\n{\"text\":", Then::Close}, cutShort},
        {"half the chunks", {chunkedHead + "8\r\n{\"text\":\r\n", Then::Close}, cutShort},
        {"half a refusal", {"HTTP/1.1 401 No\r\nContent-Length: 99\r\n\r\n{\"err", Then::Close}, cutShort},
        {"an empty body", answer("200 OK", ""), empty},
        {"a refusal with an empty body", answer("401 Unauthorized", ""), empty},
        {"a failure with an empty body", answer("500 Internal Server Error", ""), empty},
        {"a page", answer("200 OK", "<html>Sign in</html>"), notJson("illegal value at byte 1")},
        {"a refusal as a page", answer("401 Unauthorized", "<html>Go away</html>"),
         notJson("illegal value at byte 1")},
        {"a failure as a page", answer("502 Bad Gateway", "<html>502</html>"),
         notJson("illegal value at byte 1")},
        {"a redirect that leads nowhere", answer("302 Found", "moved"), notJson("illegal value at byte 1")},
        {"not UTF-8", answer("200 OK", "{\"text\":\"\xff\"}"), notJson("invalid UTF8 string at byte 9")},
        {"half a JSON object", answer("200 OK", R"({"text":"hello)"),
         notJson("unterminated string at byte 15")},
        {"a refusal", answer("401 Unauthorized", R"({"error":{"message":"Incorrect API key provided"}})"),
         R"({"error":{"message":"Incorrect API key provided"}})"},
        {"a refusal that asks for a key",
         answer("401 Unauthorized", R"({"error":"no key"})", "WWW-Authenticate: Bearer\r\n"),
         R"({"error":"no key"})"},
        {"a failure", answer("500 Internal Server Error", R"({"error":"overloaded"})"),
         R"({"error":"overloaded"})"},
        {"JSON without a text", answer("200 OK", R"({"text":5})"), R"({"text":5})"},
        {"JSON that is neither text nor UTF-8", answer("200 OK", QByteArray("\xff\xfe{\0}\0", 6)),
         "bad response"},
        {"what cannot be unpacked", answer("200 OK", "not gzip", "Content-Encoding: gzip\r\n"),
         "The answer of 127.0.0.1 could not be understood."},
    };
    for (const auto &[what, sent, description] : cases) {
        SCOPED_TRACE(what);
        ScriptedServer service;
        service.add(sent);
        expectFault(service.url(u"/path?key=secret"_s), description);
    }
}

TEST_F(SpeechServiceFaults, AnAnswerThatStopsComingIsSaid)
{
    const char *beginnings[] = {"", "HTTP/1.1 200 OK\r\n",
                                "HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\n{\"text\":"};
    for (const char *beginning : beginnings) {
        SCOPED_TRACE(beginning);
        ScriptedServer service;
        service.add({beginning});
        const auto before = handedOver(m_dictation.machine);
        m_dictation.machine.urlSession.patience = std::chrono::milliseconds(100);
        dictateTo(service.url(u"/path?key=secret"_s));
        EXPECT_EQ(m_dictation.message(), "Error: 127.0.0.1 did not answer in time.");
        EXPECT_EQ(shared(u"dictationState"_s), "idle");
        EXPECT_EQ(handedOver(m_dictation.machine), before);
        m_dictation.machine.urlSession.patience = UrlRequest().timeout;
        m_dictation.expectTheNextOneWorks();
    }
}

TEST_F(SpeechServiceFaults, ATranscriptCountsHoweverItComes)
{
    const struct {
        const char *what;
        ScriptedAnswer answer;
    } cases[] = {
        {"a byte now and then", {transcript("hello").bytes, Then::Drip}},
        {"with a failure", answer("500 Internal Server Error", R"({"text":"hello"})")},
        {"in chunks", {chunkedHead + "8\r\n{\"text\":\r\n8\r\n\"hello\"}\r\n0\r\n\r\n"}},
        {"until the connection ends", {"HTTP/1.1 200 OK\r\n\r\n{\"text\":\"hello\"}", Then::Close}},
    };
    for (const auto &[what, sent] : cases) {
        SCOPED_TRACE(what);
        ScriptedServer service;
        service.add(sent);
        expectTranscript(service.url(u"/"_s), "hello");
    }
}

TEST_F(SpeechServiceFaults, ARedirectWithinTheHostIsFollowedWithTheKey)
{
    ScriptedServer service;
    service.add(answer("307 Temporary Redirect", "", "Location: /next\r\n"));
    service.add(transcript("hello"));
    expectTranscript(service.url(u"/"_s), "hello");
    EXPECT_EQ(service.received().at(1).headers["authorization"], "Bearer token");
    EXPECT_FALSE(service.received().at(1).body.isEmpty());
}

TEST_F(SpeechServiceFaults, ARedirectToAnotherHostIsFollowedWithoutTheKey)
{
    ScriptedServer service;
    service.add(answer("307 Temporary Redirect", "",
                       "Location: " + service.url(u"/next"_s, u"localhost"_s).toEncoded() + "\r\n"));
    service.add(transcript("hello"));
    expectTranscript(service.url(u"/"_s), "hello");
    EXPECT_EQ(service.received().at(0).headers["authorization"], "Bearer token");
    EXPECT_FALSE(service.received().at(1).headers.contains("authorization"));
    EXPECT_EQ(service.received().at(1).body, service.received().at(0).body);
}

TEST_F(SpeechServiceFaults, RedirectsWithoutEndAreSaid)
{
    ScriptedServer service;
    for (int redirect = 0; redirect < 20; ++redirect) {
        service.add(answer("302 Found", "", "Location: /again?key=secret\r\n"));
    }
    expectFault(service.url(u"/"_s), "127.0.0.1 was reached by too many redirects.");
}

TEST_F(SpeechServiceFaults, ARedirectToAnAddressThatIsNotSecureIsSaid)
{
    const TrustTheCertificate trust;
    ScriptedServer service(Protocol::Https);
    const ScriptedServer open;
    service.add(answer("307 Temporary Redirect", "",
                       "Location: " + open.url(u"/?key=secret"_s).toEncoded() + "\r\n"));
    expectFault(service.url(u"/"_s, u"localhost"_s), "localhost sends on to an address that is not secure.");
    EXPECT_TRUE(open.received().empty());
}

TEST_F(SpeechServiceFaults, ACertificateThatNobodyTrustsIsSaid)
{
    ScriptedServer service(Protocol::Https);
    service.add(transcript("hello"));
    expectFault(service.url(u"/path?key=secret"_s, u"localhost"_s),
                "No secure connection to localhost could be made; its certificate may be unknown, expired or "
                "made out to another name.");
    EXPECT_TRUE(service.received().empty());
}

TEST_F(SpeechServiceFaults, ACertificateForAnotherNameIsSaid)
{
    const TrustTheCertificate trust;
    ScriptedServer service(Protocol::Https);
    service.add(transcript("hello"));
    expectFault(service.url(u"/path?key=secret"_s),
                "No secure connection to 127.0.0.1 could be made; its certificate may be unknown, expired or "
                "made out to another name.");
    EXPECT_TRUE(service.received().empty());
}

namespace
{

/// All that is not this machine's is reached through a proxy.
class ProxyFaults : public SpeechServiceFaults
{
protected:
    ProxyFaults()
    {
        setProxy("http_proxy", m_proxy);
        setProxy("https_proxy", m_proxy);
    }

    /// Nothing listens where the proxy was.
    static void useAProxyThatIsGone()
    {
        const ScriptedServer gone;
        setProxy("http_proxy", gone);
        setProxy("https_proxy", gone);
    }

    ScriptedServer m_proxy;
    const QUrl m_service = QUrl(u"http://service.invalid/path?key=secret"_s);
    const QUrl m_secureService = QUrl(u"https://service.invalid/path?key=secret"_s);
};

} // namespace

TEST_F(ProxyFaults, AProxyThatWorksIsUsed)
{
    m_proxy.add(transcript("hello"));
    expectTranscript(m_service, "hello");
    EXPECT_EQ(m_proxy.received().at(0).target, m_service.toEncoded());
}

TEST_F(ProxyFaults, AProxyThatRefusesTheConnectionIsSaid)
{
    useAProxyThatIsGone();
    expectFault(m_service, "The connection to the proxy on the way to service.invalid was refused.");
}

TEST_F(ProxyFaults, AProxyThatRefusesTheSecureConnectionIsSaid)
{
    useAProxyThatIsGone();
    expectFault(m_secureService, "The connection to the proxy on the way to service.invalid was refused.");
}

TEST_F(ProxyFaults, AProxyThatIsNotFoundIsSaid)
{
    qputenv("http_proxy", "http://" + nobodysHost.toUtf8());
    expectFault(m_service, "The proxy on the way to service.invalid was not found.");
}

TEST_F(ProxyFaults, AProxyThatIsNotFoundForASecureConnectionIsSaid)
{
    qputenv("https_proxy", "http://" + nobodysHost.toUtf8());
    expectFault(m_secureService, "The proxy on the way to service.invalid was not found.");
}

TEST_F(ProxyFaults, AProxyThatAsksForAPasswordIsSaid)
{
    m_proxy.add(
        answer("407 Proxy Authentication Required", "no", "Proxy-Authenticate: Basic realm=\"x\"\r\n"));
    expectFault(m_service, "The proxy on the way to service.invalid asks for a name and a password.");
}

TEST_F(ProxyFaults, AProxyThatAsksForAPasswordForASecureConnectionIsSaid)
{
    m_proxy.add(
        answer("407 Proxy Authentication Required", "no", "Proxy-Authenticate: Basic realm=\"x\"\r\n"));
    expectFault(m_secureService, "The proxy on the way to service.invalid asks for a name and a password.");
    EXPECT_FALSE(m_proxy.received().at(0).headers.contains("authorization"));
}

TEST_F(ProxyFaults, AProxyThatCannotReachTheSecureServiceIsSaid)
{
    m_proxy.add(answer("502 Bad Gateway", "no"));
    expectFault(m_secureService, "The proxy on the way to service.invalid failed.");
}

} // namespace kavrin::test
