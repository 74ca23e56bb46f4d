// SPDX-License-Identifier: MIT
#pragma once

#include <QTcpSocket>
#include <QTimer>
#include <QUrl>

namespace kavrin::test
{

/// A client that sends the beginning of a request and then a byte now and then, as long as it lives.
class Trickle
{
public:
    Trickle(const QUrl &server, const QByteArray &beginning)
    {
        m_socket.connectToHost(server.host(), quint16(server.port()));
        m_socket.waitForConnected(-1);
        m_socket.write(beginning);
        QObject::connect(&m_timer, &QTimer::timeout, &m_socket, [this] { m_socket.write("x"); });
        m_timer.start(20);
    }

    [[nodiscard]] bool isClosed() const { return m_socket.state() == QAbstractSocket::UnconnectedState; }

private:
    QTcpSocket m_socket;
    QTimer m_timer;
};

} // namespace kavrin::test
