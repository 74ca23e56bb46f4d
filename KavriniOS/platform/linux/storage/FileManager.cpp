// SPDX-License-Identifier: MIT
#include "platform/FileManager.h"

#include "platform/Bundle.h"
#include "platform/PropertyList.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QStandardPaths>

#include <algorithm>

namespace kavrin::FileManager
{

using namespace Qt::StringLiterals;

namespace
{

/// Labels of letters, digits, "-" and "_", joined by single dots. Such a name cannot lead out of its folder.
bool isGroupIdentifier(const QString &group)
{
    static const QRegularExpression pattern(u"\\A[A-Za-z0-9_-]+(\\.[A-Za-z0-9_-]+)*\\z"_s);
    return pattern.match(group).hasMatch();
}

/// The groups that the bundle's entitlements.plist lists.
PropertyListArray entitledGroups()
{
    const std::optional<QString> path = Bundle::resourcePath(u"entitlements"_s, u"plist"_s);
    QFile file(path.value_or(QString()));
    if (!path || !file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const std::optional<PropertyListValue> entitlements = PropertyList::parse(file.readAll());
    const auto *dictionary = entitlements ? std::get_if<PropertyListDictionary>(&*entitlements) : nullptr;
    if (dictionary == nullptr) {
        return {};
    }
    const auto found = dictionary->find(u"com.apple.security.application-groups"_s);
    const auto *groups =
        found == dictionary->end() ? nullptr : std::get_if<PropertyListArray>(&found->second);
    return groups == nullptr ? PropertyListArray() : *groups;
}

bool isEntitledTo(const QString &group)
{
    const PropertyListArray groups = entitledGroups();
    return std::any_of(groups.begin(), groups.end(), [&](const PropertyListValue &entry) {
        const auto *identifier = std::get_if<QString>(&entry);
        return identifier != nullptr && *identifier == group;
    });
}

/// The user's data folder, where keyboards look. Flatpak gives each application a data folder of its own, and
/// names the user's folder if that is not the usual one.
QString userDataFolder()
{
    if (!qEnvironmentVariableIsSet("FLATPAK_ID")) {
        return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    }
    return qEnvironmentVariable("HOST_XDG_DATA_HOME", QDir::homePath() + u"/.local/share"_s);
}

} // namespace

std::optional<QString> containerPath(const QString &group)
{
    if (!isGroupIdentifier(group) || !isEntitledTo(group)) {
        return std::nullopt;
    }
    return userDataFolder() + u"/app-groups/"_s + group;
}

QString temporaryDirectory()
{
    const QString path = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation) + u"/kavrin"_s;
    constexpr QFile::Permissions ownerOnly = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
    QDir().mkpath(path);
    QFile::setPermissions(path, ownerOnly);
    return path;
}

/// Without a runtime folder of the session, Qt takes one in the folder for temporary files, which may stay.
std::optional<QString> sessionDirectory()
{
    const QString ofSession = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const bool isUsable = !ofSession.isEmpty()
        && ofSession == QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    return isUsable ? std::optional(temporaryDirectory()) : std::nullopt;
}

} // namespace kavrin::FileManager
