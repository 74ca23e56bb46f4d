// SPDX-License-Identifier: MIT
#pragma once

#include "screens/SettingModel.h"
#include "store/Prefs.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace kavrin
{

/// A section of a page: the rows that this application can show. Main thread only.
class SectionModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("A page makes its own.")

    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QObjectList settings READ settings CONSTANT)
    Q_PROPERTY(bool visible READ isVisible NOTIFY visibleChanged)

public:
    SectionModel(const Prefs::Sect &section, QObject *parent);

    [[nodiscard]] QString title() const { return m_title; }

    /// SettingModels, in the catalogue's order.
    [[nodiscard]] QObjectList settings() const;

    /// Whether any of its rows is visible.
    [[nodiscard]] bool isVisible() const;

    void refresh();

Q_SIGNALS:
    void visibleChanged();

    /// A stored setting may show or hide other rows.
    void changed();

    /// A row has read its value again.
    void ticked();

private:
    QString m_title;
    QList<SettingModel *> m_settings;
};

/// A page of the settings catalogue. Main thread only.
class PageModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("SettingsModel makes them.")

    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QObjectList sections READ sections CONSTANT)

public:
    explicit PageModel(const Prefs::Page &page, QObject *parent = nullptr);

    [[nodiscard]] QString title() const { return m_title; }

    /// SectionModels, in the catalogue's order.
    [[nodiscard]] QObjectList sections() const;

    /// Reads every value again, and checks which rows are visible.
    Q_INVOKABLE void changed();

    /// changed(), after another process has changed settings.
    void reload();

Q_SIGNALS:
    void reloaded();

    /// A row has read its value again.
    void ticked();

private:
    QString m_title;
    QList<SectionModel *> m_sections;
};

} // namespace kavrin
