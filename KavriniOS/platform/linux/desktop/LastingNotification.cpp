// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/LastingNotification.h"

#include "platform/FileManager.h"

#include <QFile>
#include <QSaveFile>
#include <QStringList>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

/// None if the session has no folder.
std::optional<QString> path()
{
    const std::optional<QString> folder = FileManager::sessionDirectory();
    return folder ? std::optional(*folder + u"/notification"_s) : std::nullopt;
}

} // namespace

std::optional<LastingNotification> lastingNotification()
{
    QFile file(path().value_or(QString()));
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    const QStringList parts = QString::fromUtf8(file.read(300)).split(u' ');
    const uint number = parts.size() == 2 ? parts[1].toUInt() : 0;
    return number != 0 ? std::optional(LastingNotification{parts[0], number}) : std::nullopt;
}

void keepLastingNotification(const std::optional<LastingNotification> &notification)
{
    const std::optional<QString> place = path();
    if (!place) {
        return;
    }
    if (!notification) {
        QFile::remove(*place);
        return;
    }
    QSaveFile file(*place);
    if (file.open(QIODevice::WriteOnly)) {
        file.write((notification->server + u' ' + QString::number(notification->number)).toUtf8());
        file.commit();
    }
}

} // namespace kavrin
