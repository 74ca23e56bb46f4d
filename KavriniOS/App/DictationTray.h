// SPDX-License-Identifier: MIT
#pragma once

#include "dictation/DictationBridge.h"
#include "dictation/Dictations.h"
#include "platform/Tray.h"

#include <QIcon>
#include <QObject>
#include <QString>

#include <map>

namespace kavrin
{

/// Shows the application in the tray: what it does, and a menu of what the user can do then. Main thread
/// only.
class DictationTray : public QObject
{
    Q_OBJECT

public:
    /// All of them must outlive this object.
    DictationTray(Tray &tray, DictationBridge &bridge, const Dictations &dictations);

Q_SIGNALS:
    void openRequested();
    void quitRequested();

    /// The user has chosen what the state does not permit.
    void refused(const QString &reason);

private:
    void update();
    void choose(int entry);
    void start();
    void tell(const std::optional<Error> &failure);

    Tray &m_tray;
    DictationBridge &m_bridge;
    const Dictations &m_dictations;

    /// By activity. Each is made once: Qt keeps copies of what it hands out of an icon, megabytes of new
    /// ones.
    std::map<QString, QIcon> m_icons;
};

} // namespace kavrin
