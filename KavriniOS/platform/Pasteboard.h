// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QString>

namespace kavrin
{

/// The clipboard that all applications share. Main thread only.
class Pasteboard
{
public:
    virtual ~Pasteboard() = default;

    /// Replaces the contents by `text`. Resumes when other programs can read it, or after two seconds, even
    /// if nobody awaits that; reports no failure. No window of this application needs the focus.
    virtual QCoro::Task<> setString(QString text) = 0;

    /// Like setString(), but returns at once, for a text that holds passwords or keys: it asks programs that
    /// keep the clipboard's history to leave this text out. Call it when the user has just clicked or pressed
    /// a key in a window of this application: otherwise some desktops keep the old contents.
    virtual void setSecret(const QString &text) = 0;

    /// The text on the clipboard. Empty if there is none, or if its owner does not hand it over. No window of
    /// this application needs the focus.
    virtual QCoro::Task<QString> text() = 0;
};

} // namespace kavrin
