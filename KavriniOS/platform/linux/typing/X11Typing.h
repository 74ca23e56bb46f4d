// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/typing/Pasting.h"
#include "platform/linux/typing/X11Keys.h"
#include "platform/linux/typing/X11Selections.h"

#include <QSocketNotifier>

#include <chrono>
#include <functional>
#include <memory>

namespace kavrin
{

/// Types under X11: the text is put on the clipboard and on the primary selection, because terminals paste
/// the latter, and Shift+Insert is pressed. Both selections hold the text for as long as this object exists.
/// A clipboard that another program owns, and that holds the text already, is left to that program.
///
/// The text is not typed key by key: characters that the keyboard lacks must be put on keys for that, and a
/// program that looks at the keyboard a little too late loses them.
class X11Typing : public Pasting
{
    Q_OBJECT

public:
    /// How long a paste waits for the user to release the modifiers, and for a program to take the text.
    struct Patience {
        std::chrono::milliseconds withUser = std::chrono::seconds(2);
        std::chrono::milliseconds withProgram = std::chrono::seconds(5);
    };

    /// Throws Error where the display of the environment cannot be reached, or lets no program type.
    X11Typing() : X11Typing(Patience{}) { }
    explicit X11Typing(Patience patience);

    [[nodiscard]] QString name() const override;

private:
    struct Disconnect {
        void operator()(xcb_connection_t *connection) const { xcb_disconnect(connection); }
    };

    /// Waits for modifiers that the user holds, and for a program that takes the text, unless that may take
    /// it from another one. If it waits in vain, the text is on the clipboard, and the failure says what
    /// happened.
    QCoro::Task<> paste(QString text, Check check) override;
    void handleEvents();
    QCoro::Task<bool> holds(std::function<bool()> condition, std::chrono::milliseconds limit);

    std::unique_ptr<xcb_connection_t, Disconnect> m_connection;
    Patience m_patience;
    X11Keys m_keys;
    X11Selections m_selections;
    QSocketNotifier m_events;
};

} // namespace kavrin
