// SPDX-License-Identifier: MIT
#include "screens/PageModel.h"

#include <algorithm>
#include <array>

namespace kavrin
{

namespace
{

/// Whether the keyboard's own settings show the row and this application does not.
bool belongsToTheKeyboard(const Prefs::Item &item)
{
    static const std::array identifiers = {QStringLiteral("act.resize"), QStringLiteral("act.importConfig"),
                                           QStringLiteral("act.resetLearned")};
    const auto *action = std::get_if<catalogue::Action>(&item.kind);
    return action != nullptr && std::ranges::find(identifiers, action->identifier) != identifiers.end();
}

} // namespace

SectionModel::SectionModel(const Prefs::Sect &section, QObject *parent)
    : QObject(parent), m_title(section.title)
{
    for (const Prefs::Item &item : section.items) {
        if (belongsToTheKeyboard(item)) {
            continue;
        }
        auto *setting = new SettingModel(item, this);
        connect(setting, &SettingModel::changed, this, &SectionModel::changed);
        m_settings.append(setting);
    }
}

QObjectList SectionModel::settings() const
{
    return {m_settings.begin(), m_settings.end()};
}

bool SectionModel::isVisible() const
{
    return std::ranges::any_of(m_settings, &SettingModel::isVisible);
}

void SectionModel::refresh()
{
    std::ranges::for_each(m_settings, &SettingModel::refresh);
    Q_EMIT visibleChanged();
}

PageModel::PageModel(const Prefs::Page &page, QObject *parent) : QObject(parent), m_title(page.title)
{
    for (const Prefs::Sect &section : page.sections) {
        m_sections.append(new SectionModel(section, this));
        connect(m_sections.back(), &SectionModel::changed, this, &PageModel::changed);
    }
}

QObjectList PageModel::sections() const
{
    return {m_sections.begin(), m_sections.end()};
}

void PageModel::changed()
{
    ++m_rev;
    std::ranges::for_each(m_sections, &SectionModel::refresh);
    Q_EMIT revChanged();
}

} // namespace kavrin
