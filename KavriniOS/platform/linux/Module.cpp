// SPDX-License-Identifier: MIT
#include "platform/linux/Module.h"

#include <QFile>
#include <QFileInfo>

#include <dlfcn.h>

namespace kavrin
{

using namespace Qt::StringLiterals;

QString modulePath(const QString &name)
{
    const QString executable = QFile::symLinkTarget(u"/proc/self/exe"_s);
    return QFileInfo(executable).path() + u"/../lib/kavrin/"_s + name;
}

void *moduleEntry(const QString &module, const char *entry, const Error &failure)
{
    // Resolves all symbols now and in this thread, not each at its first use, which may be while somebody
    // begins to speak.
    void *handle = dlopen(QFile::encodeName(module).constData(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    void *function = handle ? dlsym(handle, entry) : nullptr;
    if (!function) {
        throw Error(failure.domain, failure.code,
                    failure.localizedDescription.arg(QString::fromLocal8Bit(dlerror())));
    }
    return function;
}

} // namespace kavrin
