// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QObject>
#include <QString>

namespace kavrin
{

/// The text messages that reach this machine's modems. Nothing of a message is kept, and none is removed from
/// its modem. Main thread only.
class IncomingMessages : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// Listens from now on, whatever modems come and go; to be called once. Throws Error where messages
    /// cannot be listened for.
    virtual void start() = 0;

Q_SIGNALS:
    /// A message has arrived from the network with all of its parts. Sent once for each, never for one that
    /// was there before start() nor for one that the user sends.
    void received(const QString &text);

    /// A message has arrived that cannot be read. `reason` is for a person and holds nothing of the message.
    void unreadable(const QString &reason);

    /// Nothing can be listened for any more: no other signal follows. `reason` is for a person.
    void ended(const QString &reason);
};

} // namespace kavrin
