// SPDX-License-Identifier: MIT
#include "support/ScriptedServer.h"
#include "support/Paths.h"

#include <QFile>
#include <QSslCertificate>
#include <QSslKey>
#include <QSslServer>
#include <QTcpSocket>
#include <QTimer>

#include <optional>
#include <stdexcept>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

QString fileBesideThis(const QString &name)
{
    return sourcePath("tests/support") + u'/' + name;
}

QList<QSslCertificate> certificate()
{
    return QSslCertificate::fromPath(fileBesideThis(u"localhost-certificate.pem"_s));
}

std::unique_ptr<QTcpServer> makeSslServer()
{
    QFile key(fileBesideThis(u"localhost-key.pem"_s));
    if (!key.open(QFile::ReadOnly)) {
        throw std::runtime_error("there is no localhost-key.pem");
    }
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificateChain(certificate());
    configuration.setPrivateKey(QSslKey(&key, QSsl::Ec));
    auto server = std::make_unique<QSslServer>();
    server->setSslConfiguration(configuration);
    return server;
}

QMap<QByteArray, QByteArray> parseHeaders(const QList<QByteArray> &lines)
{
    QMap<QByteArray, QByteArray> headers;
    for (const QByteArray &line : lines) {
        const qsizetype colon = line.indexOf(':');
        headers.insert(line.left(colon).toLower(), line.mid(colon + 1).trimmed());
    }
    return headers;
}

/// Takes the first request from `buffer`, or none as long as it is not whole.
std::optional<ReceivedRequest> takeRequest(QByteArray &buffer)
{
    const qsizetype headEnd = buffer.indexOf("\r\n\r\n");
    if (headEnd < 0) {
        return {};
    }
    QList<QByteArray> lines = buffer.left(headEnd).replace("\r\n", "\n").split('\n');
    const QList<QByteArray> requestLine = lines.takeFirst().split(' ');
    ReceivedRequest request{requestLine.value(0), requestLine.value(1), parseHeaders(lines), {}};
    const qsizetype length = request.headers.value("content-length").toLongLong();
    if (buffer.size() < headEnd + 4 + length) {
        return {};
    }
    request.body = buffer.mid(headEnd + 4, length);
    buffer.remove(0, headEnd + 4 + length);
    return request;
}

void drip(QTcpSocket *socket, const QByteArray &bytes)
{
    const qsizetype bodyStart = bytes.indexOf("\r\n\r\n") + 4;
    socket->write(bytes.first(bodyStart));
    auto *timer = new QTimer(socket);
    QObject::connect(timer, &QTimer::timeout, socket, [socket, timer, rest = bytes.mid(bodyStart)]() mutable {
        socket->write(rest.left(1));
        rest.remove(0, 1);
        if (rest.isEmpty()) {
            timer->stop();
            socket->disconnectFromHost();
        }
    });
    timer->start(20);
}

} // namespace

ScriptedAnswer answer(const QByteArray &status, const QByteArray &body, const QByteArray &headers)
{
    return {"HTTP/1.1 " + status + "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n" + headers
            + "\r\n" + body};
}

ScriptedServer::ScriptedServer(Protocol protocol, const QHostAddress &address)
    : m_protocol(protocol),
      m_server(protocol == Protocol::Https ? makeSslServer() : std::make_unique<QTcpServer>())
{
    if (!m_server->listen(address)) {
        throw std::runtime_error("cannot listen on " + address.toString().toStdString());
    }
    QObject::connect(m_server.get(), &QTcpServer::pendingConnectionAvailable, m_server.get(),
                     [this] { accept(); });
}

QUrl ScriptedServer::url(const QString &target, const QString &host) const
{
    QUrl url(target);
    url.setScheme(m_protocol == Protocol::Https ? u"https"_s : u"http"_s);
    url.setHost(host.isEmpty() ? m_server->serverAddress().toString() : host);
    url.setPort(port());
    return url;
}

void ScriptedServer::accept()
{
    while (QTcpSocket *socket = m_server->nextPendingConnection()) {
        ++m_connections;
        const auto buffer = std::make_shared<QByteArray>();
        QObject::connect(socket, &QTcpSocket::readyRead, socket, [=, this] { read(socket, *buffer); });
        QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        read(socket, *buffer);
    }
}

void ScriptedServer::read(QTcpSocket *socket, QByteArray &buffer)
{
    buffer += socket->readAll();
    while (const auto request = takeRequest(buffer)) {
        m_received.push_back(*request);
        reply(socket);
    }
}

void ScriptedServer::reply(QTcpSocket *socket)
{
    if (m_answers.empty()) {
        return;
    }
    const ScriptedAnswer next = m_answers.front();
    m_answers.pop_front();
    if (next.then == ScriptedAnswer::Then::Drip) {
        drip(socket, next.bytes);
        return;
    }
    socket->write(next.bytes);
    if (next.then == ScriptedAnswer::Then::Close) {
        socket->disconnectFromHost();
    }
}

TrustTheCertificate::TrustTheCertificate()
{
    qputenv("SSL_CERT_FILE", QFile::encodeName(fileBesideThis(u"localhost-certificate.pem"_s)));
}

TrustTheCertificate::~TrustTheCertificate()
{
    qunsetenv("SSL_CERT_FILE");
}

void setProxy(const char *variable, const ScriptedServer &proxy)
{
    qputenv(variable, proxy.url({}).toEncoded());
}

} // namespace kavrin::test
