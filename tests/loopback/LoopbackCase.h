// SPDX-License-Identifier: MIT
#pragma once

#include "loopback/Client.h"
#include "loopback/Loopback.h"
#include "platform/PropertyListValue.h"

#include <QJsonObject>
#include <QProcess>
#include <QString>

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kavrin::test
{

inline const std::string nothing = "{}";
inline const std::string done = R"({"ok":true})";

/// The whole answer that has this body.
std::string answerWith(const std::string &body);

std::string bodyOf(const std::string &answer);
QJsonObject jsonOf(const std::string &body);

/// Starts a server on any free port, and returns that. The port found on one of the two addresses may be
/// taken on the other, so several may have to be tried.
std::uint16_t portOf(Loopback &loopback);

/// The answer to a client that sends `bytes` at once and then waits.
std::optional<std::string> answerTo(std::uint16_t port, std::string_view bytes, Family family = Family::Ipv4);

/// What the suite holds.
std::optional<PropertyListValue> stored(const QString &key);

/// How many sockets of the Internet protocols this process has open among its descriptors below `end`.
int internetSockets(int end = 100);

/// Another process that keeps the suite from being written.
class KeptSuite
{
public:
    KeptSuite();
    ~KeptSuite() { release(); }
    Q_DISABLE_COPY_MOVE(KeptSuite)

    [[nodiscard]] bool isKept() { return m_process.waitForReadyRead(); }

    void release();

private:
    QProcess m_process;
};

/// A server that listens.
class LoopbackCase : public testing::Test
{
protected:
    [[nodiscard]] std::uint16_t port() const { return m_port; }

    [[nodiscard]] std::optional<std::string> ask(const std::string &requestLine) const;

    /// One after the other; none waits for its answer.
    [[nodiscard]] std::vector<Client> clientsThatAsk(const std::vector<std::string> &targets) const;

private:
    Loopback m_loopback{0};
    const std::uint16_t m_port = portOf(m_loopback);
};

} // namespace kavrin::test
