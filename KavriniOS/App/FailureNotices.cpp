// SPDX-License-Identifier: MIT
#include "App/FailureNotices.h"

#include "store/Prefs.h"
#include "store/Shared.h"

#include <QRegularExpression>
#include <QTextBoundaryFinder>
#include <QTimer>

#include <algorithm>
#include <functional>
#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

constexpr int longestLine = 200; // user-perceived characters
constexpr int shortestKey = 8; // a shorter one would mask parts of words

/// The keys that are in the settings now.
QStringList keysInForce()
{
    QStringList keys;
    for (const Prefs::Item &item : Prefs::items()) {
        const auto *const text = std::get_if<catalogue::Text>(&item.kind);
        const bool isKey = text && text->secret;
        const QString key = isKey ? Shared::d().string(item.key).value_or(QString()).trimmed() : QString();
        if (key.size() >= shortestKey) {
            keys.append(key);
        }
    }
    return keys;
}

/// A pattern for one character in all spellings in which a service may repeat it: plain, as in JSON, as in an
/// address.
QString spellingPattern(const QChar character)
{
    const QByteArray bytes = QString(character).toUtf8();
    QStringList spellings = {
        QRegularExpression::escape(QString(character)),
        u"\\\\"_s + QRegularExpression::escape(QString(character)),
        u"(?i:\\\\u%1)"_s.arg(character.unicode(), 4, 16, QLatin1Char('0')),
        u"(?i:%1)"_s.arg(QString::fromLatin1(bytes.toPercentEncoding({}, bytes))),
    };
    if (character == u' ') {
        spellings.append(u"\\+"_s);
    }
    return u"(?:%1)"_s.arg(spellings.join(u'|'));
}

/// Finds a key in every spelling.
QRegularExpression keyExpression(const QString &key)
{
    QString pattern;
    for (const QChar character : key) {
        pattern += spellingPattern(character);
    }
    return QRegularExpression(pattern);
}

QString cut(const QString &line)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, line);
    qsizetype end = 0; // of the part that leaves room for the dots
    for (int character = 1; finder.toNextBoundary() >= 0; ++character) {
        if (character < longestLine) {
            end = finder.position();
        } else if (character > longestLine) {
            return line.left(end) + u'…';
        }
    }
    return line;
}

} // namespace

FailureNotices::FailureNotices(Notifications &notifications) : m_notifications(notifications)
{
    connect(&notifications, &Notifications::activated, this, &FailureNotices::activated);
}

void FailureNotices::rememberKeys()
{
    m_keys = keysInForce();
}

void FailureNotices::forgetKeysSoon()
{
    QTimer::singleShot(0, this, [this] { m_keys.clear(); });
}

void FailureNotices::report(const QString &message)
{
    m_notifications.show(u"Voice typing"_s, line(message), u"Open voice typing"_s);
    forgetKeysSoon();
}

QString FailureNotices::line(const QString &message) const
{
    QStringList keys = m_keys + keysInForce();
    // The longest key first: one key may be part of another.
    std::ranges::stable_sort(keys, std::greater(), &QString::size);
    QString masked = message;
    for (const QString &key : std::as_const(keys)) {
        masked.replace(keyExpression(key), u"•••"_s);
    }
    return cut(masked.simplified());
}

} // namespace kavrin
