// SPDX-License-Identifier: MIT
#include "support/Paths.h"

#include <QDir>

namespace kavrin::test
{

namespace
{

QString below(const char *folder, const char *name)
{
    return QDir::cleanPath(QString::fromUtf8(folder) + u'/' + QString::fromUtf8(name));
}

} // namespace

QString sourcePath(const char *name)
{
    return below(KAVRIN_SOURCE_DIR, name);
}

QString programPath(const char *name)
{
    return below(KAVRIN_BIN_DIR, name);
}

QString helperPath(const char *name)
{
    return below(KAVRIN_HELPER_DIR, name);
}

} // namespace kavrin::test
