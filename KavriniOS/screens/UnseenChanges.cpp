// SPDX-License-Identifier: MIT
#include "screens/UnseenChanges.h"

namespace kavrin
{

QHash<QString, Written> &unseenChanges()
{
    static QHash<QString, Written> changes;
    return changes;
}

} // namespace kavrin
