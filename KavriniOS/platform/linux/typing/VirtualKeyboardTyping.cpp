// SPDX-License-Identifier: MIT
#include "platform/linux/typing/VirtualKeyboardTyping.h"

#include "platform/linux/typing/Selections.h"
#include "platform/linux/typing/VirtualKeyboard.h"

namespace kavrin
{

using namespace Qt::StringLiterals;

std::optional<Error> VirtualKeyboardTyping::obstacle()
{
    try {
        const VirtualKeyboard keyboard;
    } catch (const Error &error) {
        return error;
    }
    return obstacleToSelecting();
}

QString VirtualKeyboardTyping::name() const
{
    return u"Wayland virtual keyboard"_s;
}

QCoro::Task<> VirtualKeyboardTyping::paste(QString text, Check check)
{
    // The keyboard comes first: a window that knew none takes it while the text is put on the clipboard.
    VirtualKeyboard keyboard;
    const QCoro::Task<> selecting = selectText(text);
    co_await selecting;
    const QCoro::Task<> checking = check();
    co_await checking;
    keyboard.pressShiftInsert();
}

} // namespace kavrin
