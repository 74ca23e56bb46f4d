// SPDX-License-Identifier: MIT
#include "store/Prefs.h"

#include "store/JsonSerialization.h"
#include "store/PrefsCache.h"
#include "store/Shared.h"

#include <QJsonDocument>

#include <algorithm>

namespace kavrin
{

namespace
{

const QString blobPrefix = QStringLiteral("KAVRINCFG1:");
const QString dictionaryKey = QStringLiteral("userDict");

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
    return {QStringLiteral("import"), 1, description};
}

/// The settings within a blob. Throws Error.
PropertyListDictionary decodeBlob(const QString &blob)
{
    const QString text = blob.trimmed();
    if (!text.startsWith(blobPrefix)) {
        throw importError(QStringLiteral("This is not a settings text: it does not begin with \"%1\". "
                                         "Copy the settings again.")
                              .arg(blobPrefix));
    }
    const auto body = QByteArray::fromBase64Encoding(text.mid(blobPrefix.size()).toUtf8(),
                                                     QByteArray::AbortOnBase64DecodingErrors);
    const QJsonDocument document = body ? QJsonDocument::fromJson(*body) : QJsonDocument();
    if (!document.isObject()) {
        throw importError(
            QStringLiteral("The settings text is damaged or cut short. Copy the settings again."));
    }
    PropertyListDictionary settings;
    const QJsonObject members = document.object();
    for (auto member = members.begin(); member != members.end(); ++member) {
        std::optional<PropertyListValue> value = fromJson(member.value());
        if (value && isTransferred(member.key())) {
            settings.emplace(member.key(), *std::move(value));
        }
    }
    return settings;
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
    const PropertyListDictionary settings = Shared::d().objects(keys);
    const bool wasRead = Shared::d().lastError().isEmpty();
    const std::optional<QJsonObject> json = toJson(settings);
    if (!wasRead || !json) {
        return {};
    }
    const QByteArray body = QJsonDocument(*json).toJson(QJsonDocument::Compact);
    return blobPrefix + QString::fromLatin1(body.toBase64());
}

qsizetype Prefs::importBlob(const QString &blob)
{
    const PropertyListDictionary settings = decodeBlob(blob);
    for (const auto &[key, value] : settings) {
        if (!set(key, value)) {
            throw importError(
                QStringLiteral("The settings could not be stored: %1").arg(Shared::d().lastError()));
        }
    }
    return qsizetype(settings.size());
}

bool Prefs::reset(const QStringList &keys)
{
    // Not on past a failure: every key would wait for the same lock.
    const bool removed =
        std::all_of(keys.begin(), keys.end(), [](const QString &key) { return Shared::d().remove(key); });
    PrefsCache::shared().clear();
    return removed && stampRevision();
}

bool Prefs::resetAll()
{
    QStringList keys;
    for (const Item &item : items()) {
        if (!isKind<catalogue::Text>(item) && !isKind<catalogue::Action>(item)) {
            keys.append(item.key);
        }
    }
    return reset(keys);
}

} // namespace kavrin
