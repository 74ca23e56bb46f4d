// SPDX-License-Identifier: MIT
#pragma once

#include "catalogue/Catalogue.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

/// Finds settings by what they are called, say and offer.
namespace kavrin::search
{

/// A setting, an action or a page, with the texts that it is found by.
struct Entry {
    QString page; ///< the id of its page
    QString key; ///< empty if it is the page itself
    QString title;
    QString pageTitle; ///< empty if it is the page itself
    QString section;
    QStringList options;
    QString footer;

    bool operator==(const Entry &) const = default;
};

/// What the window shows in place of a text of the catalogue.
using Wording = std::function<QString(const QString &)>;

/// All pages, and all rows that this application has, in their order. A text that `wording` leaves empty is
/// not searched.
std::vector<Entry> entriesOf(const std::vector<catalogue::Page> &pages, const Wording &wording);

/// A search over entries. Made once; then safe from any thread.
class Index
{
public:
    explicit Index(std::vector<Entry> entries);

    /// The entries that fit every word of `text`, the best first. A word fits the beginning of a word of the
    /// entry, of its synonyms or of its page's title. If it is the beginning of no word at all, it may have
    /// one typing error. Nothing fits a text without words.
    [[nodiscard]] std::vector<Entry> find(const QString &text) const;

private:
    /// A word of an entry, and how much it counts.
    struct Word {
        QString word;
        int weight;
        bool isOfPage; ///< it is in the title of the entry's page, and finds the entry only beside another
    };

    struct Row {
        Entry entry;
        std::vector<Word> words;
    };

    struct Rank {
        int score = 0;
        bool isOwn = false; ///< something else than the page's title fits
    };

    static Row rowOf(Entry entry);
    static Rank rank(const Row &row, const QString &typed, bool isMistyped);
    [[nodiscard]] bool isBeginning(const QString &typed) const;

    std::vector<Row> m_rows;
};

} // namespace kavrin::search
