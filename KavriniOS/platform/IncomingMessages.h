// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QObject>
#include <QString>

namespace kavrin
{

/// The text messages that reach this machine's modems. Nothing stores a message, and nothing removes one from
/// its modem. Main thread only.
class IncomingMessages : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// Begins to listen, and continues while modems come and go. Call it once. Throws Error if it cannot
    /// listen for messages.
    virtual void start() = 0;

Q_SIGNALS:
    /// All parts of a message have arrived from the network. Sent once for each message; never for a message
    /// that was there before start(), nor for one that the user sends.
    void received(const QString &text);

    /// A message has arrived that cannot be read. `reason` is for the user and holds nothing of the message.
    void unreadable(const QString &reason);

    /// Listening has ended: no other signal follows. `reason` is for the user.
    void ended(const QString &reason);
};

} // namespace kavrin
