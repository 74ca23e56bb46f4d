// SPDX-License-Identifier: MIT
#pragma once

#include "screens/DictionaryFiles.h"
#include "screens/PageModel.h"
#include "screens/SettingActions.h"
#include "screens/SettingsUndo.h"
#include "store/Prefs.h"

#include <QObject>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <vector>

namespace kavrin
{

/// What the settings screens show: the pages of a catalogue, each made when it is opened. Main thread only.
class SettingsModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application has it.")

    Q_PROPERTY(QVariantList pages READ pages CONSTANT)
    Q_PROPERTY(kavrin::SettingActions *actions READ actions CONSTANT)
    Q_PROPERTY(kavrin::SettingsUndo *undo READ undo CONSTANT)
    Q_PROPERTY(kavrin::DictionaryFiles *dictionaryFiles READ dictionaryFiles CONSTANT)

public:
    /// All of them must outlive this object. Without a `chooser` the dictionary knows no files.
    SettingsModel(Pasteboard &pasteboard, Contacts &contacts,
                  const std::vector<Prefs::Page> &catalogue = Prefs::pages(), FileChooser *chooser = nullptr,
                  QObject *parent = nullptr);

    /// The pages as {id, title, icon}, in the catalogue's order.
    [[nodiscard]] QVariantList pages() const;

    [[nodiscard]] SettingActions *actions() { return &m_actions; }
    [[nodiscard]] SettingsUndo *undo() { return &m_undo; }

    /// Null if there is no chooser.
    [[nodiscard]] DictionaryFiles *dictionaryFiles() const { return m_dictionaryFiles; }

    /// The page with this id. Each call makes a new one, which belongs to the caller. Null if there is none.
    [[nodiscard]] Q_INVOKABLE kavrin::PageModel *makePage(const QString &id) const;

    /// Reads everything again that is open, because another process has changed settings.
    void reload();

Q_SIGNALS:
    void reloaded();

private:
    const std::vector<Prefs::Page> &m_catalogue;
    SettingsUndo m_undo;
    SettingActions m_actions;
    DictionaryFiles *m_dictionaryFiles;
};

} // namespace kavrin
