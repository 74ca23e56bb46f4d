// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

namespace kavrin
{

/// Takes commands from any thread to the threads of those that listen.
class CommandRelay : public QObject
{
    Q_OBJECT

Q_SIGNALS:
    void relayed(const QString &command);
};

} // namespace kavrin
