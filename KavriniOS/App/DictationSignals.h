// SPDX-License-Identifier: MIT
#pragma once

#include "App/FailureNotices.h"
#include "dictation/DictationBridge.h"
#include "dictation/Dictations.h"
#include "platform/Notifications.h"

#include <QObject>
#include <QTimer>

#include <functional>

namespace kavrin
{

/// Shows by notification how a dictation goes on, for those who look at their own window: each stage of a
/// dictation that a program has announced, and of any dictation that nothing is heard, or that its
/// transcription takes long. Main thread only.
class DictationSignals : public QObject
{
    Q_OBJECT

public:
    /// All of them must outlive this object. `isScreenSeen` says whether the window shows what is heard.
    DictationSignals(
        DictationBridge &bridge, const Dictations &dictations, Notifications &notifications,
        FailureNotices &failures, std::function<bool()> isScreenSeen = [] { return false; });

    /// Shows the stages of the dictation with that number until it brings no text, or until delivered().
    /// Returns false if there is no such dictation.
    bool announce(quint64 number);

    /// The text of that dictation is where the user wants it, or `problem` says to the user where else it is.
    /// Returns false if there is no such dictation.
    bool delivered(quint64 number, const QString &problem);

    /// Another program has begun no dictation, or has lost one, and `problem` says to the user why.
    void report(const QString &problem) { m_failures.report(problem); }

    /// Whether the user has given up that dictation by notification, although its text had come already.
    [[nodiscard]] bool isGivenUp(quint64 number) const { return m_givenUp == number; }

    /// Nobody delivers the text of that dictation: once there is one, the user is told of the clipboard.
    void expectNoDelivery(quint64 number);

    /// Takes back what is shown, and shows nothing from then on.
    void close();

private:
    enum class Stage { None, Listening, Silent, Muted, Transcribing, Slow };

    static const Notifications::Notice &noticeOf(Stage stage);
    void update();
    void updatePatience();
    void forgetEnded();
    [[nodiscard]] std::optional<DictationOutcome> outcome() const;
    [[nodiscard]] Stage stage() const;
    [[nodiscard]] Stage silence() const;
    void obey(const QString &button);
    void cancelDelivery();
    void sendAgain();

    DictationBridge &m_bridge;
    const Dictations &m_dictations;
    Notifications &m_notifications;
    FailureNotices &m_failures;
    const std::function<bool()> m_isScreenSeen;
    quint64 m_heardAgain = 0; ///< the number of the last dictation in which a silence has ended
    quint64 m_announced = 0; ///< the number of a dictation; 0 if there is none
    quint64 m_givenUp = 0; ///< the number of the latest dictation that was given up after its text had come
    bool m_isDelivered = true; ///< its announcer will say when its text is delivered
    QTimer m_patience;
    bool m_isSlow = false; ///< the transcription
    bool m_isClosed = false;
    Stage m_stage = Stage::None; ///< that is shown
    Notifications::Number m_shown = 0;
};

} // namespace kavrin
