// SPDX-License-Identifier: MIT
#include "loopback/LoopbackCase.h"

#include "store/Shared.h"
#include "support/Wait.h"

#include <QJsonDocument>

#include <sys/socket.h>

#include <cstddef>

namespace kavrin::test
{

using namespace Qt::StringLiterals;

std::string answerWith(const std::string &body)
{
    return "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: "
        + std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n" + body;
}

std::string bodyOf(const std::string &answer)
{
    const std::size_t end = answer.find("\r\n\r\n");
    return end == std::string::npos ? std::string() : answer.substr(end + 4);
}

QJsonObject jsonOf(const std::string &body)
{
    return QJsonDocument::fromJson(QByteArray::fromStdString(body)).object();
}

std::uint16_t portOf(Loopback &loopback)
{
    const auto hasStarted = [&] {
        loopback.start();
        return loopback.boundPort() != 0;
    };
    return waitUntil(hasStarted) ? loopback.boundPort() : 0;
}

std::optional<std::string> answerTo(std::uint16_t port, std::string_view bytes, Family family)
{
    const Client client(family);
    if (!client.connect(port) || !client.send(bytes)) {
        return std::nullopt;
    }
    return client.receiveToEnd();
}

std::optional<PropertyListValue> stored(const QString &key)
{
    return Shared::d().object(key);
}

int internetSockets(int end)
{
    int sockets = 0;
    for (int descriptor = 0; descriptor < end; ++descriptor) {
        sockaddr_storage name = {};
        socklen_t length = sizeof name;
        const bool hasName = getsockname(descriptor, reinterpret_cast<sockaddr *>(&name), &length) == 0;
        sockets += hasName && (name.ss_family == AF_INET || name.ss_family == AF_INET6) ? 1 : 0;
    }
    return sockets;
}

KeptSuite::KeptSuite()
{
    const QString script = uR"(import sqlite3, sys
suite = sqlite3.connect(sys.argv[1], isolation_level=None)
suite.execute('BEGIN IMMEDIATE')
print('locked', flush=True)
sys.stdin.read())"_s;
    m_process.start(u"/usr/bin/python3"_s, {u"-c"_s, script, Shared::d().path()});
}

void KeptSuite::release()
{
    m_process.closeWriteChannel();
    m_process.waitForFinished();
}

std::optional<std::string> LoopbackCase::ask(const std::string &requestLine) const
{
    return answerTo(m_port, requestLine + "\r\nHost: localhost\r\n\r\n");
}

std::vector<Client> LoopbackCase::clientsThatAsk(const std::vector<std::string> &targets) const
{
    std::vector<Client> clients(targets.size());
    for (std::size_t i = 0; i < targets.size(); ++i) {
        EXPECT_TRUE(clients[i].connect(m_port));
        EXPECT_TRUE(clients[i].send("GET " + targets[i] + " HTTP/1.1\r\n\r\n"));
    }
    return clients;
}

} // namespace kavrin::test
