// SPDX-License-Identifier: MIT
#include "platform/linux/typing/findTyping.h"

#include "platform/linux/typing/Pasting.h"
#include "platform/linux/typing/PortalTyping.h"
#include "platform/linux/typing/Selections.h"
#include "platform/linux/typing/VirtualKeyboardTyping.h"
#include "platform/linux/typing/X11Typing.h"

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

Result<std::unique_ptr<Typing>> findUnderWayland(PortalKeyboard &keyboard)
{
    const std::optional<Error> obstacle = VirtualKeyboardTyping::obstacle();
    if (!obstacle) {
        return {std::make_unique<VirtualKeyboardTyping>()};
    }
    if (!keyboard.isAvailable()) {
        return {nullptr, obstacle};
    }
    if (const std::optional<Error> noClipboard = obstacleToSelecting()) {
        return {nullptr, noClipboard};
    }
    return {std::make_unique<PortalTyping>(keyboard)};
}

Result<std::unique_ptr<Typing>> findUnderX11()
{
    try {
        auto typing = std::make_unique<X11Typing>();
        if (const std::optional<Error> noClipboard = obstacleToSelecting()) {
            return {nullptr, noClipboard};
        }
        return {std::move(typing)};
    } catch (const Error &error) {
        return {nullptr, error};
    }
}

} // namespace

Result<std::unique_ptr<Typing>> findTyping(PortalKeyboard &keyboard)
{
    if (qEnvironmentVariableIsSet("WAYLAND_DISPLAY")) {
        return findUnderWayland(keyboard);
    }
    if (qEnvironmentVariableIsSet("DISPLAY")) {
        return findUnderX11();
    }
    return {nullptr, typingError(u"There is no display to type at. Start this from a desktop session."_s)};
}

} // namespace kavrin
