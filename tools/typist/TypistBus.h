// SPDX-License-Identifier: MIT
#pragma once

#include "tools/typist/Typist.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>

#include <functional>

namespace kavrin
{

/// The typist's key for programs on the session bus, such as kavrinctl. A method that begins a dictation is
/// answered when Kavrin has taken it up, or with the error app.kavrin.Typist.Error.Refused and a reason for
/// the user; any other at once. Main thread only.
class TypistBus : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "app.kavrin.Typist")

public:
    static QString name() { return QStringLiteral("app.kavrin.Typist"); }

    /// What others answer.
    struct Answers {
        std::function<QString()> way; ///< how a text is typed now, or why it cannot be
        std::function<QString()> shortcut; ///< which shortcut is the key, or why none is
        std::function<QCoro::Task<QString>()> askForShortcut; ///< the same, after the user was asked again
    };

    /// `typist` must outlive this object.
    TypistBus(Typist &typist, Answers answers, QDBusConnection bus = QDBusConnection::sessionBus());

    /// Serves the bus. False if it cannot, because another typist does or because there is no bus.
    bool claim();

    /// Gives the name back: the next call starts another typist.
    void release();

    /// The interface as other programs call it.
    Q_SCRIPTABLE Q_SLOT void Press();
    Q_SCRIPTABLE Q_SLOT void Release();
    Q_SCRIPTABLE Q_SLOT void Toggle();
    Q_SCRIPTABLE Q_SLOT void Cancel();

    /// For people: how a text is typed, or why it cannot be.
    Q_SCRIPTABLE Q_SLOT QString Way() const;

    /// For people: which shortcut is the key, or why none is.
    Q_SCRIPTABLE Q_SLOT QString Shortcut() const;

    /// Makes the desktop ask for a shortcut that the user has refused. Answers as Shortcut(), when they have.
    Q_SCRIPTABLE Q_SLOT QString AskForShortcut();

private:
    void answer(QCoro::Task<std::optional<Error>> outcome);

    Typist &m_typist;
    Answers m_answers;
    QDBusConnection m_bus;
};

} // namespace kavrin
