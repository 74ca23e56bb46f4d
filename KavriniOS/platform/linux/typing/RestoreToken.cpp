// SPDX-License-Identifier: MIT
#include "platform/linux/typing/RestoreToken.h"

#include "platform/Logging.h"
#include "platform/linux/storage/StateFolder.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QUuid>

namespace kavrin::RestoreToken
{

using namespace Qt::StringLiterals;

namespace
{

QString path()
{
    return stateFolder() + u"/remote-desktop-token"_s;
}

} // namespace

QString load()
{
    QFile file(path());
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QString token = QString::fromUtf8(file.read(100)).trimmed();
    // The portal refuses a session for a token that is no UUID.
    return QUuid::fromString(token).isNull() ? QString() : token;
}

void store(const QString &token)
{
    QDir().mkpath(stateFolder());
    QSaveFile file(path());
    const bool isOpen = file.open(QIODevice::WriteOnly);
    // The new file is not the old one, so its rights are set before anything is in it.
    if (!isOpen || !file.setPermissions(QFile::ReadOwner | QFile::WriteOwner)
        || file.write(token.toUtf8()) < 0 || !file.commit()) {
        qCWarning(Logging::dictation) << "The desktop's answer is not kept:" << file.errorString();
    }
}

void forget()
{
    QFile::remove(path());
}

} // namespace kavrin::RestoreToken
