// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Notifications.h"

#include <QStringList>

#include <map>

namespace kavrin
{

/// Tells the user of failed dictations when nothing else does. Main thread only.
class FailureNotices : public QObject
{
    Q_OBJECT

public:
    /// `notifications` must outlive this object.
    explicit FailureNotices(Notifications &notifications);

    /// Shows what a recorder's message says about a failure, as a line(). If the recording is kept, offers to
    /// send it again.
    void report(const QString &message, bool isKept = false);

    /// What a recorder's message says about a failure, as one line of at most 200 characters. It masks the
    /// keys in the settings, and those that are remembered, because a service may repeat what it was sent. A
    /// key of less than eight characters stays: it would mask parts of words.
    [[nodiscard]] QString line(const QString &message) const;

    /// Call this when something is sent. The answer may repeat the keys that are in the settings now, and the
    /// settings may hold other keys by then. Returns a number for forgetKeysSoon().
    [[nodiscard]] int rememberKeys();

    /// Call this when the answer has come. The keys are kept until the event loop runs again, because a
    /// failure is reported next. Those of other exchanges stay.
    void forgetKeysSoon(int exchange);

Q_SIGNALS:
    /// A failure was reported, in the words of line().
    void reported(const QString &line);

    /// The user wants to deal with the failure in the settings of dictation.
    void activated(const QString &activationToken);

    /// The user wants the recording to be sent again.
    void retryRequested();

private:
    void onPressed(const QString &button, const QString &activationToken);

    Notifications &m_notifications;
    std::map<int, QStringList> m_keys; ///< of each exchange; to be masked, besides those in the settings
    int m_lastExchange = 0;
};

} // namespace kavrin
