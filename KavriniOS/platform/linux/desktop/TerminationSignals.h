// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QSocketNotifier>

namespace kavrin
{

/// Turns SIGTERM, SIGINT and SIGHUP into a signal in the main thread's event loop; SIGHUP unless the process
/// ignored it before. One for the process.
class TerminationSignals : public QObject
{
    Q_OBJECT

public:
    TerminationSignals();

Q_SIGNALS:
    void requested();

private:
    QSocketNotifier m_notifier;
};

} // namespace kavrin
