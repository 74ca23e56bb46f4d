// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Notifications.h"

#include <QStringList>

namespace kavrin
{

/// Tells the user of failed dictations while nothing else does. Main thread only.
class FailureNotices : public QObject
{
    Q_OBJECT

public:
    /// `notifications` must outlive this object.
    explicit FailureNotices(Notifications &notifications);

    /// Shows what a recorder's message says of a failure, as one line of at most 200 characters in which
    /// every key is masked: a service may repeat what it was sent.
    void report(const QString &message);

    /// To be called when something is sent: the keys that the settings hold now may be in the answer, be they
    /// other ones by then.
    void rememberKeys();

Q_SIGNALS:
    /// The user wants to see to it, in the settings of dictation.
    void activated(const QString &activationToken);

private:
    [[nodiscard]] QString line(const QString &message) const;

    Notifications &m_notifications;
    QStringList m_keys; ///< that were set at any time, as far as known
};

} // namespace kavrin
