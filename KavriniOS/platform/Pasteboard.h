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

    /// Replaces the contents by `text`. Returns at once; a failure is not reported. No window of this
    /// application needs to have the focus.
    virtual void setString(const QString &text) = 0;

    /// The same for a text with passwords or keys in it, which programs that keep the clipboard's history are
    /// asked to leave out. To be called when the user has just clicked or pressed a key in a window of this
    /// application: without, some desktops keep what was there before.
    virtual void setSecret(const QString &text) = 0;

    /// The text on it; empty where there is none, or where whoever has set it does not hand it over. No
    /// window of this application needs to have the focus.
    virtual QCoro::Task<QString> text() = 0;
};

} // namespace kavrin
