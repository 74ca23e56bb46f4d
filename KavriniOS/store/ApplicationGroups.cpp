// SPDX-License-Identifier: MIT
#include "store/ApplicationGroups.h"

#include "platform/PropertyList.h"

#include <optional>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

const PropertyListValue *member(const PropertyListValue *value, const QString &key)
{
    const auto *dictionary = std::get_if<PropertyListDictionary>(value);
    if (dictionary == nullptr) {
        return nullptr;
    }
    const auto found = dictionary->find(key);
    return found == dictionary->end() ? nullptr : &found->second;
}

/// The property list within a provisioning profile. This function finds the list by the markers of its
/// beginning and end. It neither parses nor verifies the signature around it (CMS).
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

} // namespace

ApplicationGroups listedGroups(const PropertyListValue *value)
{
    const auto *array = std::get_if<PropertyListArray>(value);
    if (array == nullptr) {
        return {};
    }
    ApplicationGroups groups;
    for (const PropertyListValue &element : *array) {
        const auto *group = std::get_if<QString>(&element);
        if (group == nullptr) {
            return {};
        }
        groups.push_back(*group);
    }
    return groups;
}

ApplicationGroups grantedGroups(const QByteArray &profile)
{
    const std::optional<PropertyListValue> list = profilePropertyList(profile);
    if (!list) {
        return {};
    }
    const PropertyListValue *entitlements = member(&*list, u"Entitlements"_s);
    return listedGroups(member(entitlements, u"com.apple.security.application-groups"_s));
}

} // namespace kavrin
