// SPDX-License-Identifier: MIT
#include "tools/typist/CleanText.h"

#include <QRegularExpression>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

/// A regular expression of the whole of Unicode.
QRegularExpression unicode(const QString &pattern)
{
    return QRegularExpression(pattern, QRegularExpression::UseUnicodePropertiesOption);
}

/// QRegularExpression takes no text with a half of a surrogate pair.
QString withoutHalfPairs(const QString &text)
{
    QString whole;
    for (qsizetype at = 0; at < text.size(); ++at) {
        const QChar unit = text[at];
        const bool isPair = unit.isHighSurrogate() && at + 1 < text.size() && text[at + 1].isLowSurrogate();
        if (isPair) {
            whole += unit;
            whole += text[++at];
        } else if (!unit.isSurrogate()) {
            whole += unit;
        }
    }
    return whole;
}

} // namespace

QString cleanText(const QString &text)
{
    static const QRegularExpression tab = unicode(u"\\t"_s);
    static const QRegularExpression lineBreak =
        unicode(u" *(?:\\r\\n|[\\n\\r\\x{0B}\\x{0C}\\x{85}\\x{2028}\\x{2029}]) *"_s);
    static const QRegularExpression acting =
        unicode(u"(?!\\n)[\\p{Cc}\\x{202A}-\\x{202E}\\x{2066}-\\x{2069}]"_s);
    static const QRegularExpression oneOrMore = unicode(u" *\\n[ \\n]*"_s);
    static const QRegularExpression ends = unicode(u"^[ \\n]+|[ \\n]+$"_s);

    QString clean = withoutHalfPairs(text);
    clean.replace(tab, u" "_s);
    clean.replace(lineBreak, u"\n"_s);
    clean.remove(acting);
    clean.remove(ends);
    return clean.replace(oneOrMore, u" "_s);
}

} // namespace kavrin
