// SPDX-License-Identifier: MIT
#pragma once

#include "doubles/FakeContacts.h"
#include "doubles/FakeDesktop.h"
#include "screens/SettingsModel.h"
#include "store/Shared.h"
#include "support/QmlWindow.h"
#include "support/Wait.h"

#include <QAccessible>
#include <QSignalSpy>

#include <gmock/gmock.h>

#include <memory>

namespace kavrin::test
{

using namespace Qt::StringLiterals;

/// The settings screens over the real suite, with a clipboard and an address book of the test's own.
class Screens : public testing::Test
{
protected:
    Journal journal;
    FakePasteboard pasteboard{journal};
    FakeContacts contacts;

    /// Shows a page of this catalogue.
    void openPage(const std::vector<Prefs::Page> &catalogue, const QString &id, QSize size = QSize(360, 720))
    {
        m_window.reset();
        m_catalogue = catalogue;
        m_settings = std::make_unique<SettingsModel>(pasteboard, contacts, m_catalogue);
        m_page.reset(m_settings->makePage(id));
        m_window = std::make_unique<QmlWindow>(
            u"Kavrin.Screens"_s, u"PageView"_s,
            QVariantMap{{u"page"_s, QVariant::fromValue(m_page.get())},
                        {u"actions"_s, QVariant::fromValue(m_settings->actions())}},
            size);
    }

    void openPage(const QString &id, QSize size = QSize(360, 720)) { openPage(Prefs::pages(), id, size); }

    /// Shows the first screen of the application.
    void openSettings(QSize size = QSize(360, 720)) { open(u"SettingsView"_s, {}, size); }

    /// Shows all settings, as the application's window does.
    void openPanes(QSize size = QSize(360, 720), const QVariantMap &properties = {})
    {
        open(u"SettingsPanes"_s, properties, size);
    }

    QmlWindow &window() { return *m_window; }
    PageModel &page() { return *m_page; }
    SettingsModel &settings() { return *m_settings; }

    static std::optional<PropertyListValue> stored(const QString &key) { return Shared::d().object(key); }

private:
    void open(const QString &type, QVariantMap properties, QSize size)
    {
        m_window.reset();
        m_settings = std::make_unique<SettingsModel>(pasteboard, contacts);
        properties.insert(u"settings"_s, QVariant::fromValue(m_settings.get()));
        m_window = std::make_unique<QmlWindow>(u"Kavrin.Screens"_s, type, properties, size);
    }

    std::vector<Prefs::Page> m_catalogue;
    std::unique_ptr<SettingsModel> m_settings;
    std::unique_ptr<PageModel> m_page;
    std::unique_ptr<QmlWindow> m_window;
};

} // namespace kavrin::test
