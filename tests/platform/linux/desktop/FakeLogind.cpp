// SPDX-License-Identifier: MIT
#include "FakeLogind.h"

#include <QDBusError>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <utility>

namespace kavrin::test
{

namespace
{

constexpr QLatin1String service("org.freedesktop.login1");
constexpr QLatin1String path("/org/freedesktop/login1");
constexpr QLatin1String interface("org.freedesktop.login1.Manager");

} // namespace

FakeLogind::FakeLogind(QDBusConnection bus, Answer answer) : m_bus(std::move(bus)), m_answer(answer)
{
    m_bus.registerObject(path, this, QDBusConnection::ExportAllSlots);
    m_bus.registerService(service);
}

FakeLogind::~FakeLogind()
{
    m_bus.unregisterService(service);
    m_bus.unregisterObject(path);
    for (const int end : m_readingEnds) {
        ::close(end);
    }
}

QDBusUnixFileDescriptor FakeLogind::Inhibit(const QString &what, const QString &who, const QString &why,
                                            const QString &mode)
{
    m_calls.push_back({what, who, why, mode});
    m_lastCall = message();
    switch (m_answer) {
    case Answer::AtOnce:
        return makeLock();
    case Answer::WhenTold:
        setDelayedReply(true);
        break;
    case Answer::Refusal:
        sendErrorReply(QDBusError::AccessDenied, QStringLiteral("Permission denied"));
        break;
    }
    return {};
}

void FakeLogind::answer()
{
    m_bus.send(m_lastCall.createReply(QVariant::fromValue(makeLock())));
}

QDBusUnixFileDescriptor FakeLogind::makeLock()
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        throw std::runtime_error("no pipe");
    }
    m_readingEnds.push_back(ends[0]);
    QDBusUnixFileDescriptor lock;
    lock.giveFileDescriptor(ends[1]);
    return lock;
}

bool FakeLogind::isHeld(std::size_t number) const
{
    // Nobody writes, so a read meets the end of the pipe or has to wait.
    char byte = 0;
    return ::read(m_readingEnds.at(number), &byte, 1) < 0 && errno == EAGAIN;
}

void FakeLogind::announce(const QString &name, bool begins)
{
    QDBusMessage signal = QDBusMessage::createSignal(path, interface, name);
    signal << begins;
    m_bus.send(signal);
}

} // namespace kavrin::test
