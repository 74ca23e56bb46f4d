// SPDX-License-Identifier: MIT
#include "screens/SettingsModel.h"

#include "platform/PlatformText.h"

#include <QVariantMap>

#include <algorithm>

namespace kavrin
{

using namespace Qt::StringLiterals;

SettingsModel::SettingsModel(Pasteboard &pasteboard, Contacts &contacts,
                             const std::vector<Prefs::Page> &catalogue, FileChooser *chooser, QObject *parent)
    : QObject(parent), m_catalogue(catalogue), m_actions(pasteboard, contacts, m_undo, this),
      m_dictionaryFiles(chooser == nullptr ? nullptr : new DictionaryFiles(*chooser, this))
{
    connect(&m_undo, &SettingsUndo::undone, this, &SettingsModel::reload);
}

QVariantList SettingsModel::pages() const
{
    QVariantList pages;
    for (const Prefs::Page &page : m_catalogue) {
        pages.append(
            QVariantMap{{u"id"_s, page.id}, {u"title"_s, platformText(page.title)}, {u"icon"_s, page.icon}});
    }
    return pages;
}

PageModel *SettingsModel::makePage(const QString &id) const
{
    const auto page = std::ranges::find(m_catalogue, id, &Prefs::Page::id);
    if (page == m_catalogue.end()) {
        return nullptr;
    }
    auto *made = new PageModel(*page);
    connect(this, &SettingsModel::reloaded, made, &PageModel::reload);
    return made;
}

void SettingsModel::reload()
{
    Prefs::forget();
    Q_EMIT reloaded();
}

} // namespace kavrin
