// SPDX-License-Identifier: MIT
#include "screens/SearchModel.h"

#include "platform/PlatformText.h"

#include <QVariantMap>

#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

/// Everything that the list of pages leads to.
std::vector<search::Entry> everything()
{
    std::vector<search::Entry> entries = search::entriesOf(Prefs::pages(), platformText);
    entries.push_back({.page = u"dictionary"_s,
                       .key = {},
                       .title = u"Personal dictionary & shortcuts"_s,
                       .pageTitle = {},
                       .section = {},
                       .options = {},
                       .footer = {}});
    return entries;
}

QString whereOf(const search::Entry &entry)
{
    return entry.section.isEmpty() ? entry.pageTitle : entry.pageTitle + u" › "_s + entry.section;
}

QVariantMap resultOf(const search::Entry &entry)
{
    return {{u"page"_s, entry.page},
            {u"key"_s, entry.key},
            {u"title"_s, entry.title},
            {u"where"_s, whereOf(entry)}};
}

} // namespace

SearchModel::SearchModel(QObject *parent) : QObject(parent), m_index(everything()) { }

void SearchModel::setText(const QString &text)
{
    if (text == m_text) {
        return;
    }
    m_text = text;
    m_results.clear();
    for (const search::Entry &entry : m_index.find(text)) {
        if (entry.key.isEmpty() || Prefs::isVisible(entry.key)) {
            m_results.append(resultOf(entry));
        }
    }
    Q_EMIT textChanged();
}

} // namespace kavrin
