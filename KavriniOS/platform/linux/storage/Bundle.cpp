// SPDX-License-Identifier: MIT
#include "platform/Bundle.h"

#include "platform/PropertyList.h"

#include <QFile>
#include <QFileInfo>

namespace kavrin::Bundle
{

using namespace Qt::StringLiterals;

namespace
{

/// The path is the same in a build and below an install prefix. QCoreApplication::applicationDirPath() is no
/// alternative, because it needs the application object first.
QString resourceFolder()
{
    const QString executable = QFile::symLinkTarget(u"/proc/self/exe"_s);
    return QFileInfo(executable).path() + u"/../share/kavrin/"_s;
}

std::optional<PropertyListValue> readInfo()
{
    const std::optional<QString> path = resourcePath(u"Info"_s, u"plist"_s);
    if (!path) {
        return std::nullopt;
    }
    QFile file(*path);
    return file.open(QIODevice::ReadOnly) ? PropertyList::parse(file.readAll()) : std::nullopt;
}

} // namespace

std::optional<QString> resourcePath(const QString &name, const QString &type)
{
    const QString path = resourceFolder() + name + QLatin1Char('.') + type;
    return QFileInfo(path).isFile() ? std::optional(path) : std::nullopt;
}

std::optional<PropertyListValue> infoValue(const QString &key)
{
    const std::optional<PropertyListValue> info = readInfo();
    const auto *dictionary = info ? std::get_if<PropertyListDictionary>(&*info) : nullptr;
    if (dictionary == nullptr) {
        return std::nullopt;
    }
    const auto found = dictionary->find(key);
    return found == dictionary->end() ? std::nullopt : std::optional(found->second);
}

} // namespace kavrin::Bundle
