// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/HiddenLine.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <poll.h>
#include <sys/signalfd.h>
#include <termios.h>
#include <unistd.h>

namespace kavrin::ctl
{

namespace
{

constexpr size_t longestLine = 4096; // that a terminal of Linux takes

/// Holds back the signals that end or stop the process, until it is destroyed.
class HeldSignals
{
public:
    HeldSignals()
    {
        sigset_t signals;
        sigemptyset(&signals);
        for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGTSTP}) {
            sigaddset(&signals, signal);
        }
        m_descriptor = signalfd(-1, &signals, SFD_CLOEXEC);
        pthread_sigmask(SIG_BLOCK, &signals, &m_before);
    }

    ~HeldSignals()
    {
        close(m_descriptor);
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }

    Q_DISABLE_COPY_MOVE(HeldSignals)

    /// Waits. Whether there was something to read on the standard input before a signal came.
    [[nodiscard]] bool inputComesFirst() const
    {
        std::array<pollfd, 2> sources = {{{m_descriptor, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}}};
        return poll(sources.data(), sources.size(), -1) > 0 && sources[0].revents == 0;
    }

private:
    int m_descriptor;
    sigset_t m_before{};
};

/// The terminal shows only the ends of lines, until it is destroyed.
class HiddenTyping
{
public:
    HiddenTyping()
    {
        tcgetattr(STDIN_FILENO, &m_before);
        termios hidden = m_before;
        hidden.c_lflag &= ~tcflag_t(ECHO);
        hidden.c_lflag |= ECHONL;
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
    }

    ~HiddenTyping() { tcsetattr(STDIN_FILENO, TCSANOW, &m_before); }

    Q_DISABLE_COPY_MOVE(HiddenTyping)

private:
    termios m_before{};
};

} // namespace

QByteArray readHiddenLine(const QByteArray &prompt)
{
    for (;;) {
        const HeldSignals signals; // first, so that it ends last
        const HiddenTyping typing;
        std::fputs(prompt.constData(), stderr);
        if (signals.inputComesFirst()) {
            QByteArray line(longestLine, '\0');
            const ssize_t size = read(STDIN_FILENO, line.data(), longestLine);
            return line.first(std::max<ssize_t>(size, 0));
        }
    }
}

} // namespace kavrin::ctl
