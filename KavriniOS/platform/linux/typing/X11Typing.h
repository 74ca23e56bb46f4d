// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/typing/Pasting.h"
#include "platform/linux/typing/X11Keys.h"

#include <chrono>
#include <memory>

namespace kavrin
{

/// Types under X11: the text is put on the clipboard and on the primary selection by the program of
/// selectionCommand(), because terminals paste the latter, and Shift+Insert is pressed. Nothing tells whether
/// a program has taken the text.
///
/// The text is not typed key by key: characters that the keyboard lacks must be put on keys for that, and a
/// program that looks at the keyboard a little too late loses them.
class X11Typing : public Pasting
{
    Q_OBJECT

public:
    /// How long a paste waits for the user to release the modifiers, and for the selections to hold the text.
    struct Patience {
        std::chrono::milliseconds withUser = std::chrono::seconds(2);
        std::chrono::milliseconds withSelections = std::chrono::seconds(5);
    };

    /// Throws Error where the display of the environment cannot be reached, or lets no program type.
    X11Typing() : X11Typing(Patience{}) { }
    explicit X11Typing(Patience patience);

    [[nodiscard]] QString name() const override;

private:
    struct Disconnect {
        void operator()(xcb_connection_t *connection) const { xcb_disconnect(connection); }
    };

    QCoro::Task<> paste(QString text, Check check) override;
    QCoro::Task<> select(QString text);
    QCoro::Task<bool> awaitRelease();

    std::unique_ptr<xcb_connection_t, Disconnect> m_connection;
    Patience m_patience;
    X11Keys m_keys;
};

} // namespace kavrin
