// SPDX-License-Identifier: MIT
#include "screens/search/SearchWords.h"

#include <algorithm>

namespace kavrin::search
{

namespace
{

constexpr qsizetype leastMistyped = 3;
/// From this length on, also the beginning of a word may be mistyped.
constexpr qsizetype leastMistypedBeginning = 4;

/// Unicode has no decomposition for these letters.
QChar withoutStroke(QChar letter)
{
    switch (letter.unicode()) {
    case u'ı':
        return u'i';
    case u'ø':
        return u'o';
    case u'ł':
        return u'l';
    case u'đ':
        return u'd';
    default:
        return letter;
    }
}

/// Small letters without accents.
QString plain(const QString &text)
{
    QString result;
    for (const QChar character : text.normalized(QString::NormalizationForm_KD).toCaseFolded()) {
        if (!character.isMark()) {
            result.append(withoutStroke(character));
        }
    }
    return result;
}

/// Whether one letter is too many, too few or wrong, or two are in the wrong order. The rest of `typed` is
/// the rest of the word, or also its beginning unless `isWhole`.
bool differsByOne(QStringView typed, QStringView word, bool isWhole)
{
    const qsizetype same = std::ranges::mismatch(typed, word).in1 - typed.begin();
    const QStringView ours = typed.sliced(same);
    const QStringView theirs = word.sliced(same);
    const auto goesOn = [&](qsizetype skipOurs, qsizetype skipTheirs) {
        if (skipOurs > ours.size() || skipTheirs > theirs.size()) {
            return false;
        }
        const QStringView rest = theirs.sliced(skipTheirs);
        return isWhole ? rest == ours.sliced(skipOurs) : rest.startsWith(ours.sliced(skipOurs));
    };
    const bool isSwapped =
        ours.size() > 1 && theirs.size() > 1 && ours[0] == theirs[1] && ours[1] == theirs[0];
    return goesOn(1, 1) || goesOn(1, 0) || goesOn(0, 1) || (isSwapped && goesOn(2, 2));
}

} // namespace

QStringList wordsOf(const QString &text)
{
    QStringList words = {QString()};
    for (const QChar character : plain(text)) {
        if (character.isLetterOrNumber()) {
            words.back().append(character);
        } else {
            words.append(QString());
        }
    }
    words.removeAll(QString());
    return words;
}

Fit fit(QStringView typed, QStringView word)
{
    if (word.startsWith(typed)) {
        return word.size() == typed.size() ? Fit::Whole : Fit::Beginning;
    }
    const bool isMistyped =
        typed.size() >= leastMistyped && differsByOne(typed, word, typed.size() < leastMistypedBeginning);
    return isMistyped ? Fit::Mistyped : Fit::None;
}

} // namespace kavrin::search
