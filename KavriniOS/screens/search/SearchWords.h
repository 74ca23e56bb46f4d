// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

/// How a search reads text. Pure functions; safe from any thread.
namespace kavrin::search
{

/// The words of a text as they are compared: small letters without accents, and digits. Everything else is
/// between words: "Auto-correction" has two.
QStringList wordsOf(const QString &text);

/// How well a word fits what was typed, from best to worst.
enum class Fit {
    Whole, ///< it is the word
    Beginning, ///< it is the beginning of the word
    Mistyped, ///< it is the word, or the beginning of a long one, with one typing error
    None,
};

/// How well `word` fits `typed`; both as wordsOf() gives them. A typing error is one letter too many, too
/// few or wrong, or two letters in the wrong order. Fewer than three letters are never mistyped.
Fit fit(QStringView typed, QStringView word);

} // namespace kavrin::search
