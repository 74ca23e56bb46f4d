// SPDX-License-Identifier: MIT
#include "support/ChildProcess.h"

#include "support/Wait.h"

#include <QFile>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <vector>

namespace kavrin::test
{

namespace
{

/// Starts a command whose output goes to the end of a file; returns its process.
pid_t spawn(const QStringList &command, const QString &outputFile)
{
    QByteArrayList words;
    std::vector<char *> arguments;
    for (const QString &word : command) {
        words.append(QFile::encodeName(word));
    }
    for (QByteArray &word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, QFile::encodeName(outputFile).constData(),
                                     O_WRONLY | O_APPEND, 0);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    pid_t process = 0;
    const int error = posix_spawnp(&process, arguments.front(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::runtime_error(command.join(u' ').toStdString() + " cannot be started");
    }
    return process;
}

} // namespace

ChildProcess::ChildProcess(const QString &program, const QStringList &arguments)
{
    if (!m_output.open()) {
        throw std::runtime_error(m_output.errorString().toStdString());
    }
    const QStringList tied = {QStringLiteral("setpriv"), QStringLiteral("--pdeathsig=KILL"), program};
    m_id = spawn(tied + arguments, m_output.fileName());
}

ChildProcess::~ChildProcess()
{
    if (isRunning()) {
        ::kill(m_id, SIGKILL);
        waitpid(m_id, &m_status, 0);
    }
}

bool ChildProcess::isRunning()
{
    m_ended = m_ended || waitpid(m_id, &m_status, WNOHANG) == m_id;
    return !m_ended;
}

bool ChildProcess::succeeds()
{
    return waitUntil([this] { return !isRunning(); }) && WIFEXITED(m_status) && WEXITSTATUS(m_status) == 0;
}

void ChildProcess::freeze()
{
    ::kill(m_id, SIGSTOP);
    siginfo_t stopped{};
    waitid(P_PID, static_cast<id_t>(m_id), &stopped, WSTOPPED | WNOWAIT);
}

QString ChildProcess::output()
{
    m_output.seek(0);
    return QString::fromUtf8(m_output.readAll());
}

} // namespace kavrin::test
