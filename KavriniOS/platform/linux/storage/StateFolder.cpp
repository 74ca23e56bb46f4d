// SPDX-License-Identifier: MIT
#include "platform/linux/storage/StateFolder.h"

#include <QDir>

namespace kavrin
{

using namespace Qt::StringLiterals;

QString stateFolder()
{
    const QString state = qEnvironmentVariable("XDG_STATE_HOME");
    return (QDir::isAbsolutePath(state) ? state : QDir::homePath() + u"/.local/state"_s) + u"/kavrin"_s;
}

} // namespace kavrin
