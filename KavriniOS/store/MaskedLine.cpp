// SPDX-License-Identifier: MIT
#include "store/MaskedLine.h"

#include "store/Prefs.h"
#include "store/Shared.h"

#include <QRegularExpression>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

constexpr int longestLine = 200; // user-perceived characters
constexpr int shortestKey = 8; // a shorter one would mask parts of words
constexpr std::size_t longestPart = 256;

/// What a service may put before a character when it repeats a key in JSON, or in JSON within JSON, and so
/// on: a backslash, or many, each of them in any spelling. Where there are more than 15, four levels deep,
/// the search would take a time that grows with the square of a run of backslashes.
constexpr QStringView definitions =
    uR"((?(DEFINE)(?<escapes>(?:\\(?:u005[Cc])?|%(?:25)*5[Cc]){1,15})(?<percent>(?:%|(?&escapes)u0025)(?:25)*)))";

/// A pattern for one character in all spellings in which a service may repeat it: plain, as in JSON, as in an
/// address.
QString spellingPattern(const QString &character)
{
    QString json;
    for (const QChar unit : character) {
        json += u"(?&escapes)u%1"_s.arg(unit.unicode(), 4, 16, QLatin1Char('0'));
    }
    QString address;
    for (const char byte : character.toUtf8()) {
        address += u"(?&percent)%1"_s.arg(uchar(byte), 2, 16, QLatin1Char('0'));
    }
    const QString plain = u"(?&escapes)?"_s + QRegularExpression::escape(character);
    const QString blank = character == u" " ? u"|\\+"_s : QString();
    return u"(?:%1|(?i:%2|%3)%4)"_s.arg(plain, json, address, blank);
}

/// Finds a part of a key in every spelling.
QRegularExpression keyExpression(const std::u32string &part)
{
    QString pattern = definitions.toString();
    for (const char32_t character : part) {
        pattern += spellingPattern(QString::fromUcs4(&character, 1));
    }
    return QRegularExpression(pattern);
}

/// A regular expression has a largest size, so a long key is looked for in parts of about the same length.
std::vector<std::u32string> partsOf(const std::u32string &key)
{
    const std::size_t count = key.size() / longestPart + 1;
    std::vector<std::u32string> parts;
    for (std::size_t part = 0; part < count; ++part) {
        const std::size_t begin = part * key.size() / count;
        parts.push_back(key.substr(begin, (part + 1) * key.size() / count - begin));
    }
    return parts;
}

bool isControl(QChar character)
{
    const char16_t unit = character.unicode();
    return character.category() == QChar::Other_Control || (unit >= 0x202a && unit <= 0x202e)
        || (unit >= 0x2066 && unit <= 0x2069);
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

QString withoutControls(QString text)
{
    std::ranges::replace_if(text, isControl, u' ');
    return text;
}

QString maskedLine(const QString &message, QStringList keys)
{
    // The longest key first: one key may be part of another.
    std::ranges::stable_sort(keys, std::greater(), &QString::size);
    QString masked = message;
    for (const QString &key : std::as_const(keys)) {
        for (const std::u32string &part : partsOf(key.toStdU32String())) {
            masked.replace(keyExpression(part), u"•••"_s);
        }
    }
    return cut(withoutControls(masked).simplified());
}

} // namespace kavrin
