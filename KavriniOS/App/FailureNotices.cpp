// SPDX-License-Identifier: MIT
#include "App/FailureNotices.h"

#include "store/Prefs.h"
#include "store/Shared.h"

#include <QTextBoundaryFinder>
#include <QUrl>

#include <algorithm>

namespace kavrin
{

namespace
{

constexpr int longestLine = 200; // characters as people count them

/// As JSON may write the text: with every character beyond ASCII escaped.
QString inJson(const QString &text)
{
    QString escaped;
    for (const QChar character : text) {
        if (character.unicode() < 0x80) {
            escaped += character;
        } else {
            escaped += QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
        }
    }
    return escaped;
}

/// The ways in which a service may write what it was sent: as it was, as in an address, as in JSON.
QStringList spellings(const QString &key)
{
    const QString json = inJson(key);
    return {key, key.trimmed(), QString::fromLatin1(QUrl::toPercentEncoding(key)), json,
            QString(json).replace(u'/', QStringLiteral("\\/"))};
}

/// The keys that are set, the longest first: one may be part of another.
QStringList keys()
{
    QStringList keys;
    for (const Prefs::Item &item : Prefs::items()) {
        const auto *const text = std::get_if<catalogue::Text>(&item.kind);
        const bool isKey = text && text->secret;
        const QString value = isKey ? Shared::d().string(item.key).value_or(QString()) : QString();
        keys += spellings(value);
    }
    keys.removeAll(QString());
    std::ranges::sort(keys, std::greater(), &QString::size);
    return keys;
}

QString cut(const QString &line)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, line);
    for (int character = 0; character < longestLine; ++character) {
        if (finder.toNextBoundary() < 0) {
            return line;
        }
    }
    return finder.position() < line.size() ? line.left(finder.position()) + u'…' : line;
}

} // namespace

FailureNotices::FailureNotices(Notifications &notifications) : m_notifications(notifications)
{
    connect(&notifications, &Notifications::activated, this, &FailureNotices::activated);
}

void FailureNotices::report(const QString &message)
{
    m_notifications.show(QStringLiteral("Voice typing"), line(message), QStringLiteral("Open voice typing"));
}

QString FailureNotices::line(const QString &message)
{
    QString masked = message;
    for (const QString &key : keys()) {
        masked.replace(key, QStringLiteral("•••"));
    }
    return cut(masked.simplified());
}

} // namespace kavrin
