// SPDX-License-Identifier: MIT
#include "codes/Codes.h"

#include "platform/Logging.h"
#include "store/Shared.h"

#include <QHash>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <unicode/ubrk.h>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype refusedLength = 500;
constexpr qsizetype shortestCode = 4;
constexpr qsizetype longestCode = 8;

constexpr QStringView keywords[] = {u"code",     u"kod",      u"otp",   u"verif", u"doğrulama", u"dogrulama",
                                    u"passcode", u"security", u"şifre", u"sifre", u"pin"};

/// Maps each letter to all characters that have it as their lower-case form, the letter itself among them.
/// Matching that ignores case would differ: it takes the long s for an s. It also takes the capital I with a
/// dot for an i, but the lower-case form of that letter is an i with a separate dot after it.
QHash<QString, QString> lettersByLowerCase()
{
    QHash<QString, QString> letters;
    for (char16_t code = 0; code < 0xFFFF; ++code) {
        const QChar letter(code);
        if (letter.isLower() || letter.isUpper()) {
            letters[QString(letter).toLower()] += letter;
        }
    }
    return letters;
}

/// Matches a letter of a keyword in both spellings of Unicode: as one character, and as a letter with its
/// mark after it. Composing the whole text would take a time that grows with the square of a run of marks.
QString letterPattern(QChar letter, const QHash<QString, QString> &letters)
{
    QString composed = u'[' + letters.value(QString(letter)) + u']';
    const QString decomposed = letter.decomposition();
    if (decomposed.isEmpty()) {
        return composed;
    }
    return u"(?:%1|[%2]%3)"_s.arg(composed, letters.value(decomposed.first(1)), decomposed.sliced(1));
}

/// Matches every text that has a keyword as its lower-case form. Making the lower-case form of the whole text
/// takes five times as long.
QString keywordPattern()
{
    const QHash<QString, QString> letters = lettersByLowerCase();
    QStringList alternatives;
    for (const QStringView keyword : keywords) {
        QString alternative;
        for (const QChar letter : keyword) {
            alternative += letterPattern(letter, letters);
        }
        alternatives.append(alternative);
    }
    return alternatives.join(u'|');
}

struct Expressions {
    QRegularExpression wholeLong{u"^[0-9]{4,8}$"_s};
    QRegularExpression wholeSplit{u"^[0-9]{3}[ -][0-9]{3}$"_s};
    QRegularExpression keyword{keywordPattern()};
    QRegularExpression embeddedSplit{u"(?<![0-9])[0-9]{3}[ -][0-9]{3}(?![0-9])"_s};
    QRegularExpression embeddedLong{u"(?<![0-9])[0-9]{4,8}(?![0-9])"_s};
};

bool hasEnoughDigits(QStringView text)
{
    const auto isDigit = [](QChar character) { return character >= u'0' && character <= u'9'; };
    return std::count_if(text.begin(), text.end(), isDigit) >= shortestCode;
}

/// Uses ICU: QTextBoundaryFinder of Qt 6.4 finds two characters in a flag after an emoji, and
/// QRegularExpression's "\X" finds one character in two emoji.
bool isTooLong(QStringView text)
{
    if (text.size() < refusedLength) {
        return false;
    }
    UErrorCode status = U_ZERO_ERROR;
    const icu::LocalUBreakIteratorPointer characters(
        ubrk_open(UBRK_CHARACTER, "", text.utf16(), int32_t(text.size()), &status));
    if (U_FAILURE(status)) {
        return true;
    }
    qsizetype length = 0;
    while (length < refusedLength && ubrk_next(characters.getAlias()) != UBRK_DONE) {
        ++length;
    }
    return length == refusedLength;
}

/// `text` must be valid UTF-16: this function does not check that again.
QString firstMatch(const QRegularExpression &expression, const QString &text)
{
    return expression
        .match(text, 0, QRegularExpression::NormalMatch,
               QRegularExpression::DontCheckSubjectStringMatchOption)
        .captured();
}

QString withoutSeparator(QString code)
{
    return code.remove(u' ').remove(u'-');
}

} // namespace

std::optional<Codes::Code> Codes::extract(const QString &text)
{
    static const Expressions expressions;

    const QString valid = text.isValidUtf16() ? text : QString::fromUtf8(text.toUtf8());
    // QString::trimmed() removes every character for which QChar::isSpace() is true: the separators Z*, TAB
    // to CR, and NEL.
    const QString trimmed = valid.trimmed();
    // Most messages hold no code, so the cheapest checks come first.
    if (!hasEnoughDigits(trimmed) || isTooLong(trimmed)) {
        return std::nullopt;
    }
    if (trimmed.size() <= longestCode) {
        for (const QRegularExpression *whole : {&expressions.wholeLong, &expressions.wholeSplit}) {
            const QString match = firstMatch(*whole, trimmed);
            if (!match.isEmpty()) {
                return Code{withoutSeparator(match), true};
            }
        }
    }
    if (firstMatch(expressions.keyword, trimmed).isEmpty()) {
        return std::nullopt;
    }
    for (const QRegularExpression *embedded : {&expressions.embeddedSplit, &expressions.embeddedLong}) {
        const QString match = firstMatch(*embedded, trimmed);
        if (!match.isEmpty()) {
            return Code{withoutSeparator(match), false};
        }
    }
    return std::nullopt;
}

Changes Codes::changes(const QString &text, const QString &source)
{
    const std::optional<Code> found = extract(text);
    qCInfo(Logging::codes) << (found ? "A code" : "No code") << "in a text of" << text.size() << "characters";
    if (!found) {
        return {};
    }
    return {
        {u"otpCode"_s, found->code}, {u"otpPure"_s, found->pure},
        {u"otpSource"_s, source},    {u"otpAt"_s, Date::now().secondsSince1970},
        {u"otpUsed"_s, false},
    };
}

std::optional<Error> Codes::note(const QString &text, const QString &source)
{
    return Shared::d().write(changes(text, source));
}

} // namespace kavrin
