// SPDX-License-Identifier: MIT
#include "screens/StoreNote.h"

#include <QCoreApplication>

namespace kavrin
{

QString storeNote(const Error &failure)
{
    return QCoreApplication::translate("StoreNote", "This could not be saved. %1")
        .arg(failure.localizedDescription);
}

QString unreadableNote(const Error &failure)
{
    return QCoreApplication::translate("StoreNote", "This could not be read. %1")
        .arg(failure.localizedDescription);
}

} // namespace kavrin
