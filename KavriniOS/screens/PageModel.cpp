// SPDX-License-Identifier: MIT
#include "screens/PageModel.h"

#include "platform/PlatformText.h"

#include <algorithm>

namespace kavrin
{

SectionModel::SectionModel(const Prefs::Sect &section, QObject *parent)
    : QObject(parent), m_title(platformText(section.title))
{
    for (const Prefs::Item &item : section.items) {
        if (item.onlyInKeyboard) {
            continue;
        }
        auto *setting = new SettingModel(item, this);
        connect(setting, &SettingModel::changed, this, &SectionModel::changed);
        connect(setting, &SettingModel::visibleChanged, this, &SectionModel::visibleChanged);
        connect(setting, &SettingModel::ticked, this, &SectionModel::ticked);
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
}

PageModel::PageModel(const Prefs::Page &page, QObject *parent)
    : QObject(parent), m_title(platformText(page.title))
{
    for (const Prefs::Sect &section : page.sections) {
        m_sections.append(new SectionModel(section, this));
        connect(m_sections.back(), &SectionModel::changed, this, &PageModel::changed);
        connect(m_sections.back(), &SectionModel::ticked, this, &PageModel::ticked);
    }
}

QObjectList PageModel::sections() const
{
    return {m_sections.begin(), m_sections.end()};
}

void PageModel::changed()
{
    std::ranges::for_each(m_sections, &SectionModel::refresh);
}

void PageModel::reload()
{
    changed();
    Q_EMIT reloaded();
}

} // namespace kavrin
