// SPDX-License-Identifier: MIT
#include "screens/search/SearchIndex.h"

#include "screens/search/SearchWords.h"
#include "screens/search/Synonyms.h"

#include <algorithm>
#include <utility>

namespace kavrin::search
{

namespace
{

// How much a word counts, by where it is.
constexpr int inTitle = 100;
constexpr int firstInTitle = 110;
constexpr int inSynonyms = 70;
constexpr int inOptions = 50;
constexpr int inSection = 40;
constexpr int inPageTitle = 30;
constexpr int inFooter = 20;

/// In hundredths.
int worth(Fit fit)
{
    switch (fit) {
    case Fit::Whole:
        return 100;
    case Fit::Beginning:
        return 80;
    case Fit::Mistyped:
        return 50;
    case Fit::None:
        break;
    }
    return 0;
}

QStringList optionsOf(const catalogue::Item &item, const Wording &wording)
{
    QStringList options;
    if (const auto *choice = std::get_if<catalogue::Choice>(&item.kind)) {
        for (const catalogue::Opt &option : choice->options) {
            options.append(wording(option.t));
        }
    }
    return options;
}

} // namespace

std::vector<Entry> entriesOf(const std::vector<catalogue::Page> &pages, const Wording &wording)
{
    std::vector<Entry> entries;
    for (const catalogue::Page &page : pages) {
        entries.push_back({.page = page.id,
                           .key = {},
                           .title = wording(page.title),
                           .pageTitle = {},
                           .section = {},
                           .options = {},
                           .footer = {}});
        for (const catalogue::Sect &section : page.sections) {
            for (const catalogue::Item &item : section.items) {
                if (!item.onlyInKeyboard) {
                    entries.push_back({.page = page.id,
                                       .key = item.key,
                                       .title = wording(item.title),
                                       .pageTitle = wording(page.title),
                                       .section = wording(section.title),
                                       .options = optionsOf(item, wording),
                                       .footer = wording(item.footer.value_or(QString()))});
                }
            }
        }
    }
    return entries;
}

Index::Index(std::vector<Entry> entries)
{
    for (Entry &entry : entries) {
        m_rows.push_back(rowOf(std::move(entry)));
    }
}

Index::Row Index::rowOf(Entry entry)
{
    std::vector<Word> words;
    const auto add = [&words](const QString &text, int weight, bool isOfPage = false) {
        QString before;
        for (const QString &word : wordsOf(text)) {
            words.push_back({word, weight, isOfPage});
            words.push_back({before + word, weight, isOfPage}); // "spacebar" finds "space bar"
            before = word;
        }
    };
    add(entry.title, inTitle);
    if (!words.empty()) {
        words.front().weight = firstInTitle;
    }
    add(synonymsOf(entry.key.isEmpty() ? entry.page : entry.key), inSynonyms);
    add(entry.options.join(u' '), inOptions);
    add(entry.section, inSection);
    add(entry.pageTitle, inPageTitle, true);
    add(entry.footer, inFooter);
    return {std::move(entry), std::move(words)};
}

Index::Rank Index::rank(const Row &row, const QString &typed, bool isMistyped)
{
    Rank best;
    for (const Word &word : row.words) {
        const Fit found = fit(typed, word.word);
        const int score = found == Fit::Mistyped && !isMistyped ? 0 : word.weight * worth(found);
        best.score = std::max(best.score, score);
        best.isOwn = best.isOwn || (score > 0 && !word.isOfPage);
    }
    return best;
}

bool Index::isBeginning(const QString &typed) const
{
    return std::ranges::any_of(m_rows, [&typed](const Row &row) {
        return std::ranges::any_of(row.words,
                                   [&typed](const Word &word) { return word.word.startsWith(typed); });
    });
}

std::vector<Entry> Index::find(const QString &text) const
{
    std::vector<std::pair<Rank, const Row *>> found;
    found.reserve(m_rows.size());
    for (const Row &row : m_rows) {
        found.emplace_back(Rank(), &row);
    }
    const QStringList words = wordsOf(text);
    for (const QString &typed : words) {
        const bool isMistyped = !isBeginning(typed);
        std::erase_if(found, [&](auto &candidate) {
            auto &[sum, row] = candidate;
            const Rank ranked = rank(*row, typed, isMistyped);
            sum = {sum.score + ranked.score, sum.isOwn || ranked.isOwn};
            return ranked.score == 0;
        });
    }
    std::erase_if(found, [](const auto &candidate) { return !candidate.first.isOwn; });
    std::ranges::stable_sort(found, std::ranges::greater(),
                             [](const auto &candidate) { return candidate.first.score; });
    std::vector<Entry> entries;
    std::ranges::transform(found, std::back_inserter(entries),
                           [](const auto &candidate) { return candidate.second->entry; });
    return entries;
}

} // namespace kavrin::search
