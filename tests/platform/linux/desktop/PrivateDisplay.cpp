// SPDX-License-Identifier: MIT
#include "PrivateDisplay.h"

#include "support/Wait.h"

#include <QFile>

#include <unistd.h>

#include <csignal>
#include <stdexcept>
#include <sys/prctl.h>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

constexpr uid_t nobody = 65534;

/// A test that is killed takes its programs along.
void startTied(QProcess &process, const QString &program, const QStringList &arguments)
{
    process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
    process.start(program, arguments);
}

void end(QProcess &process)
{
    process.kill();
    process.waitForFinished();
}

void give(const QString &path, uid_t user)
{
    if (::chown(QFile::encodeName(path).constData(), user, user) != 0) {
        throw std::runtime_error(path.toStdString() + " cannot be given to another user");
    }
}

/// The arguments that `setpriv` needs to run a program as another user; the program and its own follow.
QStringList asUser(uid_t user)
{
    const QString identifier = QString::number(user);
    return {u"--reuid="_s + identifier, u"--regid="_s + identifier, u"--clear-groups"_s,
            u"--pdeathsig=KILL"_s};
}

} // namespace

PrivateDisplay::~PrivateDisplay()
{
    for (const std::unique_ptr<QProcess> &client : m_clients) {
        end(*client);
    }
    end(m_server);
}

void PrivateDisplay::show(const QString &program, const QStringList &arguments)
{
    QProcess &client = *m_clients.emplace_back(std::make_unique<QProcess>());
    client.setProcessChannelMode(QProcess::ForwardedChannels);
    startTied(client, program, arguments);
}

void PrivateDisplay::endServer()
{
    end(m_server);
}

QString PrivateDisplay::startServer(const QString &program, const QStringList &arguments)
{
    startTied(m_server, program, arguments);
    waitUntil([&] { return m_server.canReadLine() || m_server.state() == QProcess::NotRunning; });
    if (!m_server.canReadLine()) {
        throw std::runtime_error(program.toStdString() + ": "
                                 + m_server.readAllStandardError().toStdString());
    }
    return QString::fromUtf8(m_server.readLine().trimmed());
}

QString PrivateDisplay::output(const QString &program, const QStringList &arguments)
{
    QProcess process;
    startTied(process, program, arguments);
    waitUntil([&] { return process.state() == QProcess::NotRunning; });
    return QString::fromUtf8(process.readAllStandardOutput());
}

PrivateX11Display::PrivateX11Display()
{
    const QString number = startServer(u"Xvfb"_s,
                                       {u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s, u"640x480x24"_s,
                                        u"-noreset"_s, u"-nolisten"_s, u"tcp"_s});
    qputenv("DISPLAY", ":" + number.toLatin1());
    qputenv("QT_QPA_PLATFORM", "xcb");
}

QString PrivateX11Display::clipboard(const QString &type) const
{
    const QStringList arguments = {u"-selection"_s, u"clipboard"_s, u"-o"_s};
    return output(u"xclip"_s, type.isEmpty() ? arguments : arguments + QStringList({u"-target"_s, type}));
}

void PrivateX11Display::press()
{
    // Without a window manager no window has the focus, and none needs it for the clipboard.
}

PrivateWaylandDisplay::PrivateWaylandDisplay()
{
    const QString configuration = m_folder.filePath(u"sway.conf"_s);
    QFile file(configuration);
    if (!file.open(QIODevice::WriteOnly)) {
        throw std::runtime_error(file.errorString().toStdString());
    }
    // The command runs once clients can connect.
    file.write("xwayland disable\nexec printenv WAYLAND_DISPLAY\n");
    file.close();

    const QStringList sway = {u"XDG_RUNTIME_DIR="_s + m_folder.path(),
                              u"WLR_BACKENDS=headless"_s,
                              u"WLR_LIBINPUT_NO_DEVICES=1"_s,
                              u"WLR_RENDERER=pixman"_s,
                              u"sway"_s,
                              u"--config"_s,
                              configuration};
    QString socket;
    if (::geteuid() == 0) {
        // Sway refuses to run as root.
        give(m_folder.path(), nobody);
        give(configuration, nobody);
        socket = startServer(u"setpriv"_s, asUser(nobody) + QStringList(u"env"_s) + sway);
    } else {
        socket = startServer(u"env"_s, sway);
    }
    qputenv("WAYLAND_DISPLAY", QFile::encodeName(m_folder.filePath(socket)));
    qputenv("QT_QPA_PLATFORM", "wayland");
}

QString PrivateWaylandDisplay::clipboard(const QString &type) const
{
    const QStringList arguments = {u"--no-newline"_s};
    return output(u"wl-paste"_s, type.isEmpty() ? arguments : arguments + QStringList({u"--type"_s, type}));
}

void PrivateWaylandDisplay::press()
{
    // The window hears of the keyboard before it hears of the key.
    output(u"wtype"_s, {u"-s"_s, u"100"_s, u"a"_s});
}

} // namespace kavrin::test
