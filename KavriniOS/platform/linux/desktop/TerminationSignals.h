// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QSocketNotifier>

namespace kavrin
{

/// Turns SIGTERM and SIGINT into a signal in the main thread's event loop. One for the process.
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
