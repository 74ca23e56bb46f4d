// SPDX-License-Identifier: MIT
#include "codes/NaiveCodes.h"

#include <array>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

const QString blanks =
    u"\t\n\v\f\r \u0085\u00A0\u1680\u2000\u2001\u2002\u2003\u2004\u2005\u2006\u2007\u2008\u2009"
    "\u200A\u2028\u2029\u202F\u205F\u3000"_s;

QString trim(const QString &text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && blanks.contains(text.at(begin))) {
        ++begin;
    }
    while (end > begin && blanks.contains(text.at(end - 1))) {
        --end;
    }
    return text.sliced(begin, end - begin);
}

bool isDigitAt(const QString &text, qsizetype position)
{
    return position >= 0 && position < text.size() && text.at(position) >= u'0' && text.at(position) <= u'9';
}

/// How many digits stand at `position` and after it.
qsizetype runAt(const QString &text, qsizetype position)
{
    qsizetype length = 0;
    while (isDigitAt(text, position + length)) {
        ++length;
    }
    return length;
}

bool startsRun(const QString &text, qsizetype position)
{
    return isDigitAt(text, position) && !isDigitAt(text, position - 1);
}

/// The six digits of "123-456" or "123 456" at `position`, or nothing.
QString splitAt(const QString &text, qsizetype position)
{
    const bool isSplit = startsRun(text, position) && runAt(text, position) == 3
        && (text.mid(position + 3, 1) == u" " || text.mid(position + 3, 1) == u"-")
        && runAt(text, position + 4) == 3;
    return isSplit ? text.mid(position, 3) + text.mid(position + 4, 3) : QString();
}

/// The 4 to 8 digits at `position`, or nothing.
QString longAt(const QString &text, qsizetype position)
{
    const qsizetype length = runAt(text, position);
    return startsRun(text, position) && length >= 4 && length <= 8 ? text.mid(position, length) : QString();
}

QString firstOf(const QString &text, QString (*codeAt)(const QString &, qsizetype))
{
    for (qsizetype position = 0; position < text.size(); ++position) {
        const QString code = codeAt(text, position);
        if (!code.isEmpty()) {
            return code;
        }
    }
    return {};
}

bool hasKeyword(const QString &text)
{
    static const std::array keywords = {u"code"_s,      u"kod"_s,       u"otp"_s,      u"verif"_s,
                                        u"doğrulama"_s, u"dogrulama"_s, u"passcode"_s, u"security"_s,
                                        u"şifre"_s,     u"sifre"_s,     u"pin"_s};
    const QString lower = text.toLower();
    for (const QString &keyword : keywords) {
        if (lower.contains(keyword) || lower.contains(keyword.normalized(QString::NormalizationForm_D))) {
            return true;
        }
    }
    return false;
}

} // namespace

std::optional<Codes::Code> naiveExtract(const QString &text)
{
    const QString trimmed = trim(text);
    const QString wholeSplit = splitAt(trimmed, 0);
    if (trimmed.size() == 7 && !wholeSplit.isEmpty()) {
        return Codes::Code{wholeSplit, true};
    }
    const QString wholeLong = longAt(trimmed, 0);
    if (!wholeLong.isEmpty() && wholeLong.size() == trimmed.size()) {
        return Codes::Code{wholeLong, true};
    }
    if (!hasKeyword(trimmed)) {
        return std::nullopt;
    }
    for (const auto codeAt : {splitAt, longAt}) {
        const QString code = firstOf(trimmed, codeAt);
        if (!code.isEmpty()) {
            return Codes::Code{code, false};
        }
    }
    return std::nullopt;
}

} // namespace kavrin::test
