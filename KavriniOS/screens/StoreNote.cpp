// SPDX-License-Identifier: MIT
#include "screens/StoreNote.h"

#include "store/Shared.h"

#include <QCoreApplication>

namespace kavrin
{

QString storeNote(bool stored)
{
    return stored ? QString()
                  : QCoreApplication::translate("StoreNote", "This could not be saved. %1")
                        .arg(Shared::d().lastError());
}

} // namespace kavrin
