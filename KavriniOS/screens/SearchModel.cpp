// SPDX-License-Identifier: MIT
#include "screens/SearchModel.h"

#include "screens/search/ShownEntries.h"

#include <QVariantMap>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

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

void SearchModel::setText(const QString &text)
{
    if (text == m_text) {
        return;
    }
    m_text = text;
    m_results.clear();
    // Made for every text, because rows may show or hide meanwhile.
    const search::Index index(search::shownEntries());
    for (const search::Entry &entry : index.find(text)) {
        m_results.append(resultOf(entry));
    }
    Q_EMIT textChanged();
}

} // namespace kavrin
