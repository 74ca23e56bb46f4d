// SPDX-License-Identifier: MIT
#include "store/SettingsState.h"

#include "platform/PropertyList.h"
#include "store/Shared.h"

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

const QString prefix = u"KAVRINSTATE1:"_s;
const QString storedMember = u"stored"_s;
const QString absentMember = u"absent"_s;

/// The member of a dictionary if it is a T; otherwise an empty one.
template <typename T> T member(const PropertyListDictionary &dictionary, const QString &name)
{
    const auto found = dictionary.find(name);
    const T *value = found == dictionary.end() ? nullptr : std::get_if<T>(&found->second);
    return value == nullptr ? T() : *value;
}

} // namespace

Result<QString> SettingsState::read(const QStringList &keys)
{
    const auto [stored, failure] = Shared::d().objects(keys);
    if (failure) {
        return {.failure = failure};
    }
    PropertyListArray absent;
    for (const QString &key : keys) {
        if (!stored.contains(key)) {
            absent.push_back(key);
        }
    }
    const PropertyListDictionary state = {{storedMember, stored}, {absentMember, absent}};
    return {prefix + QString::fromLatin1(PropertyList::toBinary(state).toBase64())};
}

bool SettingsState::isState(const QString &text)
{
    return text.startsWith(prefix);
}

std::optional<Changes> SettingsState::changes(const QString &text, const QStringList &allowed)
{
    const auto body = QByteArray::fromBase64Encoding(text.mid(prefix.size()).toUtf8(),
                                                     QByteArray::AbortOnBase64DecodingErrors);
    const std::optional<PropertyListValue> list = body ? PropertyList::parse(*body) : std::nullopt;
    const auto *state = list ? std::get_if<PropertyListDictionary>(&*list) : nullptr;
    if (state == nullptr) {
        return std::nullopt;
    }
    Changes changes;
    for (const auto &[key, value] : member<PropertyListDictionary>(*state, storedMember)) {
        if (allowed.contains(key)) {
            changes.push_back({key, value});
        }
    }
    for (const PropertyListValue &key : member<PropertyListArray>(*state, absentMember)) {
        const auto *name = std::get_if<QString>(&key);
        if (name != nullptr && allowed.contains(*name)) {
            changes.push_back({*name, std::nullopt});
        }
    }
    return changes;
}

} // namespace kavrin
