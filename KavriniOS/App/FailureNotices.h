// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Notifications.h"

#include <QStringList>

namespace kavrin
{

/// Tells the user of failed dictations when nothing else does. Main thread only.
class FailureNotices : public QObject
{
    Q_OBJECT

public:
    /// `notifications` must outlive this object.
    explicit FailureNotices(Notifications &notifications);

    /// Shows what a recorder's message says about a failure, as one line of at most 200 characters. It masks
    /// every key, because a service may repeat what it was sent.
    void report(const QString &message);

    /// Call this when something is sent. The answer may repeat the keys that are in the settings now, and the
    /// settings may hold other keys by then.
    void rememberKeys();

    /// A message as report() shows it.
    [[nodiscard]] QString line(const QString &message) const;

Q_SIGNALS:
    /// The user wants to deal with the failure in the settings of dictation.
    void activated(const QString &activationToken);

private:
    Notifications &m_notifications;
    QStringList m_keys; ///< all keys that are known to have been set at any time
};

} // namespace kavrin
