// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Notifications.h"

#include <functional>

namespace kavrin
{

/// Tells the user of failed dictations while nothing else does. Main thread only.
class FailureNotices : public QObject
{
    Q_OBJECT

public:
    /// `notifications` must outlive this object.
    explicit FailureNotices(Notifications &notifications);

    /// Shows what a recorder's message says of a failure.
    void report(const QString &message);

    /// The message as one line of at most 200 characters, with every key that the settings hold masked: a
    /// service may repeat what it was sent.
    static QString line(const QString &message);

Q_SIGNALS:
    /// The user wants to see to it, in the settings of dictation.
    void activated(const QString &activationToken);

private:
    Notifications &m_notifications;
};

} // namespace kavrin
