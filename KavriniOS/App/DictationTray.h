// SPDX-License-Identifier: MIT
#pragma once

#include "App/Dictations.h"
#include "platform/Tray.h"

#include <QObject>

namespace kavrin
{

/// Shows the application in the tray: whether it listens, and a menu of what the user can do then. Main
/// thread only.
class DictationTray : public QObject
{
    Q_OBJECT

public:
    /// Both must outlive this object.
    DictationTray(Tray &tray, Dictations &dictations);

Q_SIGNALS:
    void openRequested();
    void quitRequested();

private:
    void update();
    void choose(int entry);

    Tray &m_tray;
    Dictations &m_dictations;
};

} // namespace kavrin
