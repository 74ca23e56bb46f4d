// SPDX-License-Identifier: MIT
#include "platform/linux/network/LocalPort.h"

#include <QFile>
#include <QList>

#include <algorithm>
#include <unistd.h>

namespace kavrin
{

namespace
{

/// The columns of a line of the system's list. The first line has their names.
enum Column { LocalEnd = 1, State = 3, User = 7, Columns = 8 };

bool isLocal(const QByteArray &address)
{
    const bool isAny = std::ranges::all_of(address, [](char digit) { return digit == '0'; });
    return isAny || address == "0100007F" || address == "00000000000000000000000001000000";
}

bool listensOn(const QList<QByteArray> &columns, const QByteArray &port)
{
    constexpr const char *listening = "0A";
    if (columns.size() < Columns || columns[State] != listening) {
        return false;
    }
    const QList<QByteArray> end = columns[LocalEnd].split(':');
    return end.size() == 2 && end[1] == port && isLocal(end[0]);
}

} // namespace

PortOwner portOwner(std::uint16_t port)
{
    const QByteArray wanted = QByteArray::number(port, 16).toUpper().rightJustified(4, '0');
    for (const char *list : {"/proc/net/tcp", "/proc/net/tcp6"}) {
        QFile file(QString::fromLatin1(list));
        const QByteArray text = file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
        for (const QByteArray &line : text.split('\n')) {
            const QList<QByteArray> columns = line.simplified().split(' ');
            if (listensOn(columns, wanted)) {
                return columns[User].toUInt() == getuid() ? PortOwner::User : PortOwner::Stranger;
            }
        }
    }
    return PortOwner::Nobody;
}

} // namespace kavrin
