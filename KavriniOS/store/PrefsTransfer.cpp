// SPDX-License-Identifier: MIT
#include "store/Prefs.h"

#include "store/DictionaryKey.h"
#include "store/JsonSerialization.h"
#include "store/PrefsCache.h"
#include "store/SettingValue.h"
#include "store/SettingsState.h"
#include "store/Shared.h"

#include <QJsonDocument>

#include <algorithm>
#include <iterator>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

const QString blobPrefix = u"KAVRINCFG1:"_s;

template <typename K> bool isKind(const Prefs::Item &item)
{
    return std::holds_alternative<K>(item.kind);
}

Error importError(const QString &description)
{
    return {u"import"_s, 1, description};
}

/// Whether the value may be a model that its service has named anew.
bool isModel(const Prefs::Item &item, const PropertyListValue &value)
{
    const auto *choice = std::get_if<catalogue::Choice>(&item.kind);
    const auto *name = std::get_if<QString>(&value);
    return choice != nullptr && choice->isOpen && name != nullptr && !name->isEmpty() && isOneLine(*name);
}

/// A member's name from elsewhere, for a terminal.
QString shownName(const QString &name)
{
    constexpr qsizetype longest = 40;
    return name.size() <= longest && isOneLine(name) ? u'"' + name + u'"' : u"A member with an odd name"_s;
}

/// The members of a settings text, held against the catalogue.
struct Sorted {
    Changes changes;
    Prefs::Import outcome;

    void add(const QString &key, const std::optional<PropertyListValue> &value)
    {
        const auto item = Prefs::items().find(key);
        if (key == dictionaryKey) {
            addDictionary(value);
        } else if (item == Prefs::items().end() || isKind<catalogue::Action>(*item)) {
            outcome.remarks.append(u"%1 is no setting, and was left out."_s.arg(shownName(key)));
        } else {
            addSetting(*item, value);
        }
    }

    void addDictionary(const std::optional<PropertyListValue> &value)
    {
        if (value && std::holds_alternative<QString>(*value)) {
            changes.push_back({dictionaryKey, value});
        } else {
            outcome.misfits.append(dictionaryKey + u" is text."_s);
        }
    }

    void addSetting(const Prefs::Item &item, const std::optional<PropertyListValue> &value)
    {
        if (const auto fitting = value ? fittingValue(item.kind, *value) : std::nullopt) {
            changes.push_back({item.key, fitting});
        } else if (value && isModel(item, *value)) {
            changes.push_back({item.key, value});
            outcome.remarks.append(u"%1 is \"%2\" now, a model that this version does not know."_s.arg(
                item.key, std::get<QString>(*value)));
        } else {
            outcome.misfits.append(u"%1 is %2."_s.arg(item.key, fittingValues(item.kind)));
        }
    }
};

Sorted sort(const QJsonObject &members)
{
    Sorted sorted;
    for (auto member = members.begin(); member != members.end(); ++member) {
        sorted.add(member.key(), fromJson(member.value()));
    }
    sorted.outcome.count = qsizetype(sorted.changes.size());
    return sorted;
}

Error damagedError()
{
    return importError(u"The settings text is damaged or cut short. Copy the settings again."_s);
}

/// The settings of a state: also those that do not fit, because they were there before.
Result<Sorted> parseState(const QString &state)
{
    const std::optional<Changes> changes = SettingsState::changes(state, Prefs::resettableKeys());
    if (!changes) {
        return {.failure = damagedError()};
    }
    Sorted sorted;
    sorted.changes = *changes;
    sorted.outcome.count = qsizetype(changes->size());
    for (const Change &change : *changes) {
        const Prefs::Item item = Prefs::items().value(change.key);
        if (change.value && !fittingValue(item.kind, *change.value) && !isModel(item, *change.value)) {
            sorted.outcome.remarks.append(
                u"%1 is %2, but was not, and is as it was."_s.arg(item.key, fittingValues(item.kind)));
        }
    }
    return {sorted};
}

/// The settings of a blob or a state.
Result<Sorted> parse(const QString &text)
{
    if (SettingsState::isState(text)) {
        return parseState(text);
    }
    if (!text.startsWith(blobPrefix)) {
        return {.failure = importError(u"This is not a settings text: it does not begin with \"%1\". "
                                       "Copy the settings again."_s.arg(blobPrefix))};
    }
    const auto body = QByteArray::fromBase64Encoding(text.mid(blobPrefix.size()).toUtf8(),
                                                     QByteArray::AbortOnBase64DecodingErrors);
    const QJsonDocument document = body ? QJsonDocument::fromJson(*body) : QJsonDocument();
    if (!document.isObject()) {
        return {.failure = damagedError()};
    }
    return {sort(document.object())};
}

} // namespace

QStringList Prefs::transferKeys()
{
    QStringList keys = {dictionaryKey};
    for (const Item &item : items()) {
        if (!isKind<catalogue::Action>(item)) {
            keys.append(item.key);
        }
    }
    return keys;
}

QString Prefs::exportBlob()
{
    const auto [settings, failure] = Shared::d().objects(transferKeys());
    const std::optional<QJsonObject> json = toJson(settings);
    if (failure || !json) {
        return {};
    }
    const QByteArray body = QJsonDocument(*json).toJson(QJsonDocument::Compact);
    return blobPrefix + QString::fromLatin1(body.toBase64());
}

Result<Prefs::Import> Prefs::importBlob(const QString &blob)
{
    const auto [sorted, misread] = parse(blob.trimmed());
    if (misread) {
        return {.failure = misread};
    }
    if (const std::optional<Error> failure = store(sorted.changes)) {
        return {.failure =
                    importError(u"The settings could not be stored: "_s + failure->localizedDescription)};
    }
    return {sorted.outcome};
}

Changes Prefs::resetChanges(const QStringList &keys)
{
    Changes changes;
    std::ranges::transform(keys, std::back_inserter(changes),
                           [](const QString &key) { return Change{key, std::nullopt}; });
    return changes;
}

QStringList Prefs::resettableKeys()
{
    QStringList keys;
    for (const Item &item : items()) {
        if (!isKind<catalogue::Text>(item) && !isKind<catalogue::Action>(item)) {
            keys.append(item.key);
        }
    }
    return keys;
}

} // namespace kavrin
