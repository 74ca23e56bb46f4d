// SPDX-License-Identifier: MIT
#include "platform/linux/storage/BaseDirectories.h"

#include <QByteArray>

#include <pwd.h>
#include <unistd.h>

namespace kavrin
{

void ignoreRelativeBaseDirectories()
{
    for (const char *variable : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME",
                                 "XDG_RUNTIME_DIR", "HOST_XDG_DATA_HOME"}) {
        if (!qgetenv(variable).startsWith('/')) {
            qunsetenv(variable);
        }
    }
    if (!qgetenv("HOME").startsWith('/')) {
        const passwd *user = getpwuid(getuid());
        qputenv("HOME", user ? user->pw_dir : "/");
    }
}

} // namespace kavrin
