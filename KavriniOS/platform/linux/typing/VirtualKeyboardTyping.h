// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/typing/Pasting.h"

namespace kavrin
{

/// Types under Wayland compositors that give any program a virtual keyboard (sway, labwc, Phosh, Hyprland).
/// The text is put on the clipboard and on the primary selection by the program of selectionCommand(),
/// because terminals paste the latter, and Shift+Insert is pressed.
///
/// The text is not typed key by key: Chromium takes only 16 bits of a character from a key, and a compositor
/// disconnects a program, which then ends, where the keys of a long text come faster than it reads them.
class VirtualKeyboardTyping : public Pasting
{
    Q_OBJECT

public:
    /// Why this way does not work now.
    static std::optional<Error> obstacle();

    [[nodiscard]] QString name() const override;

private:
    QCoro::Task<> paste(QString text, Check check) override;
};

} // namespace kavrin
