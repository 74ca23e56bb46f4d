// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

namespace kavrin
{

/// A line of the personal dictionary that a person may want to change.
struct DictionaryMark {
    qsizetype from; ///< where the line begins in the text
    qsizetype end; ///< where it ends
    QString text; ///< what is the matter with it, as a sentence

    bool operator==(const DictionaryMark &) const = default;
};

/// What a person is told of a personal dictionary. It has an entry a line: a word, or a shortcut "omw=on my
/// way". Blank lines, and blanks round a word or "=", do not matter.
struct DictionaryEntries {
    int words = 0; ///< each once
    int shortcuts = 0; ///< each abbreviation once
    QList<DictionaryMark> marks; ///< the lines that repeat an entry, or have nothing on one side of "="

    /// "2 words and 1 shortcut", or "No entries yet".
    [[nodiscard]] QString count() const;

    static DictionaryEntries in(const QString &text);
};

} // namespace kavrin
