// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/TerminationSignals.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <csignal>

namespace kavrin
{

namespace
{

// A signal handler can do little more than write to a descriptor. It stays open as long as the handler
// exists.
const int wakeDescriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);

void wake(int)
{
    const int saved = errno;
    eventfd_write(wakeDescriptor, 1);
    errno = saved;
}

} // namespace

TerminationSignals::TerminationSignals() : m_notifier(wakeDescriptor, QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, [this] {
        eventfd_t count = 0;
        eventfd_read(wakeDescriptor, &count);
        Q_EMIT requested();
    });
    struct sigaction action = {};
    action.sa_handler = wake;
    action.sa_flags = SA_RESTART;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
    // nohup(1) starts a program that ignores this signal, so that it outlives its terminal.
    struct sigaction inherited = {};
    sigaction(SIGHUP, nullptr, &inherited);
    if (inherited.sa_handler != SIG_IGN) {
        sigaction(SIGHUP, &action, nullptr);
    }
}

} // namespace kavrin
