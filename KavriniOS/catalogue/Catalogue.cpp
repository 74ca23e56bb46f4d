// SPDX-License-Identifier: MIT
#include "catalogue/Catalogue.h"

#include "catalogue/pages/Pages.h"

namespace kavrin::catalogue
{

QString Sect::id() const
{
    return items.empty() ? title : title + items.front().key;
}

const std::vector<Page> &pages()
{
    static const std::vector<Page> all{
        layoutPage(),    lookPage(),      touchPage(),      gesturesPage(), feedbackPage(), correctionPage(),
        clipboardPage(), dictationPage(), extensionsPage(), codesPage(),    advancedPage(),
    };
    return all;
}

const QHash<QString, Item> &items()
{
    static const QHash<QString, Item> all = itemsByKey(pages());
    return all;
}

QHash<QString, Item> itemsByKey(const std::vector<Page> &pages)
{
    QHash<QString, Item> result;
    for (const Page &page : pages) {
        for (const Sect &section : page.sections) {
            for (const Item &item : section.items) {
                result.insert(item.key, item);
            }
        }
    }
    return result;
}

} // namespace kavrin::catalogue
