// SPDX-License-Identifier: MIT
#pragma once

#include "platform/LocalSpeechService.h"
#include "platform/Pasteboard.h"
#include "platform/TypingKey.h"
#include "screens/start/StartStep.h"

#include <QCoroTask>
#include <QObject>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

#include <optional>

namespace kavrin
{

/// The card "Get started": what a new user does first, and what of it is done. It reads that from the shared
/// suite and asks the desktop, so it is right whoever did it. Main thread only.
class GetStarted : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application has it.")

    /// Whether the card is to be seen: until the user dismisses it, or until the window is opened when all is
    /// done.
    Q_PROPERTY(bool shown READ isShown NOTIFY shownChanged)
    Q_PROPERTY(bool done READ isDone NOTIFY changed)
    Q_PROPERTY(kavrin::StartStep *service READ service CONSTANT)
    Q_PROPERTY(kavrin::StartStep *key READ key CONSTANT)
    Q_PROPERTY(kavrin::StartStep *trial READ trial CONSTANT)
    /// The desktop gives no key by itself, so the user needs the command.
    Q_PROPERTY(bool needsCommand READ needsCommand NOTIFY changed)

public:
    /// All of them must outlive this object.
    GetStarted(LocalSpeechService &local, TypingKey &typing, Pasteboard &pasteboard,
               QObject *parent = nullptr);

    [[nodiscard]] bool isShown() const { return m_isShown; }
    [[nodiscard]] bool isDone() const;
    [[nodiscard]] bool needsCommand() const { return m_needsCommand; }
    [[nodiscard]] StartStep *service() { return &m_service; }
    [[nodiscard]] StartStep *key() { return &m_key; }
    [[nodiscard]] StartStep *trial() { return &m_trial; }

    /// A window opens: decides whether the card is shown.
    Q_INVOKABLE void open();

    /// The window closes. Nothing is looked for until it opens.
    void close();

    /// Something may be done now: looks again, if the card is shown, and once more a moment later, because a
    /// keyboard marks its text and the desktop gives keys when they have done what was seen.
    Q_INVOKABLE void refresh();

    /// Starts the speech service of this machine, and makes the settings choose it.
    Q_INVOKABLE void useThisMachine();

    /// Starts the program that has the key, which makes the desktop ask for the keys.
    Q_INVOKABLE void setUpKey();

    /// Puts the command that is the same as the key on the clipboard.
    Q_INVOKABLE void copyCommand();

    /// Hides the card for good.
    Q_INVOKABLE void dismiss();

Q_SIGNALS:
    void shownChanged();
    void changed();

    /// The settings choose another service now.
    void serviceChosen();

private:
    QCoro::Task<std::optional<Error>> startService();
    QCoro::Task<> chooseService();
    QCoro::Task<> lookForKey();
    QCoro::Task<> startKey();
    void look();
    void showService(const QString &problem = {});
    void showKey(const QString &name);
    void showTrial();
    void decide();
    void setShown(bool shown);
    [[nodiscard]] bool isDismissed() const;

    LocalSpeechService &m_local;
    TypingKey &m_typing;
    Pasteboard &m_pasteboard;
    StartStep m_service;
    StartStep m_key;
    StartStep m_trial;
    QTimer m_later; ///< the second look
    bool m_isOpen = false; ///< the window
    bool m_isShown = false;
    bool m_isDismissed = false; ///< in this process
    bool m_isKeyKnown = false; ///< the desktop has said whether there is one
    bool m_isAskingForKey = false;
    bool m_needsCommand = false;
};

} // namespace kavrin
