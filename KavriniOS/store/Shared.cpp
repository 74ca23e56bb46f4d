// SPDX-License-Identifier: MIT
#include "store/Shared.h"

#include "platform/Bundle.h"
#include "platform/FileManager.h"
#include "platform/PropertyList.h"

#include <QFile>

#include <algorithm>

namespace kavrin
{

namespace
{

using Groups = std::vector<QString>;

/// The elements of an array that holds nothing but strings, or none.
std::optional<Groups> strings(const PropertyListValue *value)
{
    const auto *array = std::get_if<PropertyListArray>(value);
    if (array == nullptr) {
        return std::nullopt;
    }
    Groups result;
    for (const PropertyListValue &element : *array) {
        const auto *string = std::get_if<QString>(&element);
        if (string == nullptr) {
            return std::nullopt;
        }
        result.push_back(*string);
    }
    return result;
}

const PropertyListValue *member(const PropertyListValue *value, const QString &key)
{
    const auto *dictionary = std::get_if<PropertyListDictionary>(value);
    if (dictionary == nullptr) {
        return nullptr;
    }
    const auto found = dictionary->find(key);
    return found == dictionary->end() ? nullptr : &found->second;
}

/// The property list within a provisioning profile. The signature round it (CMS) is neither parsed nor
/// verified: the list is found by the markers of its beginning and end alone.
std::optional<PropertyListValue> profilePropertyList(const QByteArray &profile)
{
    static constexpr QByteArrayView endMarker = "</plist>";
    const qsizetype begin = profile.indexOf("<?xml");
    const qsizetype end = profile.indexOf(endMarker);
    if (begin < 0 || end < 0) {
        return std::nullopt;
    }
    const qsizetype last = end + endMarker.size() - 1;
    if (last < begin) {
        qFatal("The embedded provisioning profile is malformed: its property list ends before it begins.");
    }
    return PropertyList::parse(QByteArrayView(profile).sliced(begin, last - begin + 1));
}

/// The application groups that the embedded provisioning profile grants.
Groups profileGroups()
{
    const std::optional<QString> path =
        Bundle::resourcePath(QStringLiteral("embedded"), QStringLiteral("mobileprovision"));
    if (!path) {
        return {};
    }
    QFile file(*path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const std::optional<PropertyListValue> profile = profilePropertyList(file.readAll());
    if (!profile) {
        return {};
    }
    const PropertyListValue *entitlements = member(&*profile, QStringLiteral("Entitlements"));
    return strings(member(entitlements, QStringLiteral("com.apple.security.application-groups")))
        .value_or(Groups());
}

int rank(const QString &group)
{
    if (group == Shared::builtInGroup()) {
        return 0;
    }
    return group.startsWith(Shared::builtInGroup()) ? 1 : 2;
}

bool isPreferred(const QString &left, const QString &right)
{
    const int leftRank = rank(left);
    const int rightRank = rank(right);
    return leftRank != rightRank ? leftRank < rightRank : left < right;
}

std::optional<QString> resolveGroup()
{
    Groups candidates = profileGroups();
    std::stable_sort(candidates.begin(), candidates.end(), isPreferred);

    const std::optional<PropertyListValue> alternatives = Bundle::infoValue(QStringLiteral("ALTAppGroups"));
    if (alternatives) {
        const Groups groups = strings(&*alternatives).value_or(Groups());
        candidates.insert(candidates.end(), groups.begin(), groups.end());
    }
    candidates.push_back(Shared::builtInGroup());

    const auto found = std::find_if(candidates.begin(), candidates.end(), [](const QString &group) {
        return FileManager::containerPath(group).has_value();
    });
    return found == candidates.end() ? std::nullopt : std::optional(*found);
}

/// The group's suite, or null.
UserDefaults *groupSuite()
{
    // Never destroyed: threads of the loopback server may use it until the process has ended.
    static UserDefaults *const suite =
        Shared::group() ? UserDefaults::suite(*Shared::group()).release() : nullptr;
    return suite;
}

} // namespace

const QString &Shared::builtInGroup()
{
    static const QString group = QStringLiteral("group.app.kavrin.shared");
    return group;
}

const std::optional<QString> &Shared::group()
{
    static const std::optional<QString> group = resolveGroup();
    return group;
}

UserDefaults &Shared::d()
{
    UserDefaults *const suite = groupSuite();
    return suite != nullptr ? *suite : UserDefaults::standard();
}

bool Shared::isShared()
{
    return groupSuite() != nullptr;
}

} // namespace kavrin
