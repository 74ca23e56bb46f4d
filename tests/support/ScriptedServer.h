// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QMap>
#include <QTcpServer>
#include <QUrl>

#include <deque>
#include <memory>
#include <vector>

namespace kavrin::test
{

/// A host that nobody has, and that no name server is asked for: a name has 255 characters at most.
inline const QString nobodysHost = (QString(62, u'x') + u'.').repeated(4) + QStringLiteral("invalid");

/// A request as it came over the wire.
struct ReceivedRequest {
    QByteArray method;
    QByteArray target;
    QMap<QByteArray, QByteArray> headers; ///< names in lower case
    QByteArray body;
};

/// The bytes that answer a request, and what becomes of the connection then.
struct ScriptedAnswer {
    enum class Then {
        KeepOpen, ///< the connection waits for the next request
        Close, ///< it is closed
        Drip, ///< after the head the bytes are sent one at a time, a fiftieth of a second apart; then it is
              ///< closed
    };

    QByteArray bytes;
    Then then = Then::KeepOpen;
};

/// An answer with Content-Length. `headers` are whole lines, each with its line end.
ScriptedAnswer answer(const QByteArray &status, const QByteArray &body, const QByteArray &headers = {});

/// A web server on a loopback address that answers the requests that reach it one after the other as it was
/// told, and remembers them. It lives in the thread that makes it.
class ScriptedServer
{
public:
    enum class Protocol {
        Http,
        Https, ///< with a certificate for "localhost" that nobody trusts, see TrustTheCertificate
    };

    explicit ScriptedServer(Protocol protocol = Protocol::Http,
                            const QHostAddress &address = QHostAddress(QHostAddress::LocalHost));

    /// What answers the next request that has none yet. A request without an answer is left waiting.
    void add(const ScriptedAnswer &next) { m_answers.push_back(next); }

    /// The address of `target`, such as "/path?query", on this server. Its host is `host`, or the address.
    [[nodiscard]] QUrl url(const QString &target, const QString &host = {}) const;

    [[nodiscard]] quint16 port() const { return m_server->serverPort(); }

    /// What has come so far.
    [[nodiscard]] const std::vector<ReceivedRequest> &received() const { return m_received; }

    /// How many connections have been made so far.
    [[nodiscard]] int connections() const { return m_connections; }

private:
    void accept();
    void read(QTcpSocket *socket, QByteArray &buffer);
    void reply(QTcpSocket *socket);

    Protocol m_protocol;
    std::unique_ptr<QTcpServer> m_server;
    std::deque<ScriptedAnswer> m_answers;
    std::vector<ReceivedRequest> m_received;
    int m_connections = 0;
};

/// As long as it lives the https servers' certificate is one that the system trusts.
class TrustTheCertificate
{
public:
    TrustTheCertificate();
    ~TrustTheCertificate();

    TrustTheCertificate(const TrustTheCertificate &) = delete;
    TrustTheCertificate &operator=(const TrustTheCertificate &) = delete;
};

/// Makes `variable` of the environment ("http_proxy") lead to a server.
void setProxy(const char *variable, const ScriptedServer &proxy);

} // namespace kavrin::test
