// SPDX-License-Identifier: MIT
#include "platform/linux/typing/ShortcutRefusal.h"

#include "platform/Logging.h"
#include "platform/linux/storage/StateFolder.h"

#include <QDir>
#include <QFile>

namespace kavrin::ShortcutRefusal
{

using namespace Qt::StringLiterals;

namespace
{

QString path()
{
    return stateFolder() + u"/shortcut-refused"_s;
}

} // namespace

bool isKept()
{
    return QFile::exists(path());
}

void keep()
{
    QDir().mkpath(stateFolder());
    QFile file(path());
    if (!file.open(QIODevice::WriteOnly)) {
        qCWarning(Logging::dictation) << "The user's answer is not kept:" << file.errorString();
    }
}

void forget()
{
    QFile::remove(path());
}

} // namespace kavrin::ShortcutRefusal
