// SPDX-License-Identifier: MIT
#include "store/Prefs.h"

#include "store/JsonSerialization.h"
#include "store/PrefsCache.h"
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
const QString dictionaryKey = u"userDict"_s;

template <typename K> bool isKind(const Prefs::Item &item)
{
    return std::holds_alternative<K>(item.kind);
}

bool isTransferred(const QString &key)
{
    const auto item = Prefs::items().find(key);
    const bool isSetting = item != Prefs::items().end() && !isKind<catalogue::Action>(*item);
    return isSetting || key == dictionaryKey;
}

Error importError(const QString &description)
{
    return {u"import"_s, 1, description};
}

/// The changes that store the settings of a JSON object.
Changes changesOf(const QJsonObject &settings)
{
    Changes changes;
    for (auto member = settings.begin(); member != settings.end(); ++member) {
        std::optional<PropertyListValue> value = fromJson(member.value());
        if (value && isTransferred(member.key())) {
            changes.push_back({member.key(), std::move(value)});
        }
    }
    return changes;
}

/// The changes that store the settings of a blob.
Result<Changes> parseBlob(const QString &blob)
{
    const QString text = blob.trimmed();
    if (!text.startsWith(blobPrefix)) {
        return {.failure = importError(u"This is not a settings text: it does not begin with \"%1\". "
                                       "Copy the settings again."_s.arg(blobPrefix))};
    }
    const auto body = QByteArray::fromBase64Encoding(text.mid(blobPrefix.size()).toUtf8(),
                                                     QByteArray::AbortOnBase64DecodingErrors);
    const QJsonDocument document = body ? QJsonDocument::fromJson(*body) : QJsonDocument();
    if (!document.isObject()) {
        return {.failure =
                    importError(u"The settings text is damaged or cut short. Copy the settings again."_s)};
    }
    return {changesOf(document.object())};
}

} // namespace

QString Prefs::exportBlob()
{
    QStringList keys = {dictionaryKey};
    for (const Item &item : items()) {
        if (!isKind<catalogue::Action>(item)) {
            keys.append(item.key);
        }
    }
    const auto [settings, failure] = Shared::d().objects(keys);
    const std::optional<QJsonObject> json = toJson(settings);
    if (failure || !json) {
        return {};
    }
    const QByteArray body = QJsonDocument(*json).toJson(QJsonDocument::Compact);
    return blobPrefix + QString::fromLatin1(body.toBase64());
}

Result<qsizetype> Prefs::importBlob(const QString &blob)
{
    const auto [changes, misread] = parseBlob(blob);
    if (misread) {
        return {.failure = misread};
    }
    if (const std::optional<Error> failure = store(changes)) {
        return {.failure =
                    importError(u"The settings could not be stored: "_s + failure->localizedDescription)};
    }
    return {qsizetype(changes.size())};
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

QFuture<std::optional<Error>> Prefs::reset(const QStringList &keys)
{
    const QFuture<std::optional<Error>> written = submit(resetChanges(keys));
    PrefsCache::shared().clear();
    return written;
}

QFuture<std::optional<Error>> Prefs::resetAll()
{
    return reset(resettableKeys());
}

} // namespace kavrin
