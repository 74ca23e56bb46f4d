// SPDX-License-Identifier: MIT
#include "platform/linux/typing/VirtualKeyboardTyping.h"

#include "platform/linux/typing/Pasting.h"
#include "platform/linux/typing/VirtualKeyboard.h"
#include "platform/linux/typing/WlCopy.h"

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

QCoro::Task<> paste(QString text)
{
    // The keyboard comes first: a window that knew none takes it while the text is put on the clipboard.
    VirtualKeyboard keyboard;
    const QCoro::Task<> selecting = selectByWlCopy(text);
    co_await selecting;
    keyboard.pressShiftInsert();
}

} // namespace

std::optional<Error> VirtualKeyboardTyping::obstacle()
{
    try {
        const VirtualKeyboard keyboard;
    } catch (const Error &error) {
        return error;
    }
    return obstacleToWlCopy();
}

QString VirtualKeyboardTyping::name() const
{
    return u"Wayland virtual keyboard"_s;
}

QCoro::Task<std::optional<Error>> VirtualKeyboardTyping::type(QString text)
{
    if (std::optional<Error> refusal = refusalToPaste(text)) {
        co_return refusal;
    }
    if (text.isEmpty()) {
        co_return std::nullopt;
    }
    try {
        const QCoro::Task<> pasting = paste(text);
        co_await pasting;
    } catch (const Error &error) {
        co_return error;
    }
    co_return std::nullopt;
}

} // namespace kavrin
