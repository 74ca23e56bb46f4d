// SPDX-License-Identifier: MIT
#include "support/PrivateHome.h"

#include <QDir>
#include <QFile>

namespace kavrin::test
{

PrivateHome::PrivateHome()
{
    const auto folder = [this](const char *variable, const QString &name) {
        const QString path = m_folder.filePath(name);
        QDir().mkpath(path);
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv(variable, QFile::encodeName(path));
    };
    folder("HOME", QStringLiteral("home"));
    folder("XDG_DATA_HOME", QStringLiteral("home/data"));
    folder("XDG_CONFIG_HOME", QStringLiteral("home/config"));
    folder("XDG_CACHE_HOME", QStringLiteral("home/cache"));
    folder("XDG_RUNTIME_DIR", QStringLiteral("run"));
    for (const char *variable :
         {"DISPLAY", "WAYLAND_DISPLAY", "PULSE_SERVER", "http_proxy", "https_proxy", "all_proxy", "no_proxy",
          "HTTPS_PROXY", "ALL_PROXY", "NO_PROXY", "DBUS_SESSION_BUS_ADDRESS"}) {
        qunsetenv(variable);
    }
    qputenv("LC_ALL", "C.UTF-8"); // Qt prints a warning in any locale whose encoding is another
    const QByteArray noBus =
        "unix:path=" + QFile::encodeName(m_folder.filePath(QStringLiteral("run/no-bus")));
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", noBus);
}

} // namespace kavrin::test
