// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>

struct wl_display;
struct wl_proxy;
struct wl_registry;
struct wl_seat;

namespace kavrin
{

/// A keyboard of this program's own in a Wayland compositor, for one shortcut: Shift+Insert. It goes with
/// this object. Follows the protocol virtual-keyboard-unstable-v1. Any thread. Waits for the compositor, at
/// most two seconds.
class VirtualKeyboard
{
public:
    /// Throws Error where there is no compositor, or where it lets this program have no keyboard.
    VirtualKeyboard();
    ~VirtualKeyboard();

    VirtualKeyboard(const VirtualKeyboard &) = delete;
    VirtualKeyboard &operator=(const VirtualKeyboard &) = delete;

    /// Presses the shortcut in the window that has the focus; the compositor has taken it when this returns.
    /// Throws Error where the compositor is gone.
    void pressShiftInsert();

private:
    struct Disconnect {
        void operator()(wl_display *display) const;
    };

    static void onGlobal(void *self, wl_registry *registry, uint32_t name, const char *interface,
                         uint32_t version);
    void findGlobals();
    void sendKeymap();
    void sendKey(uint32_t key, bool isDown);
    void sendModifiers(uint32_t depressed);
    void awaitCompositor();
    bool readEvents();

    std::unique_ptr<wl_display, Disconnect> m_display;
    wl_seat *m_seat = nullptr;
    wl_proxy *m_manager = nullptr;
    wl_proxy *m_keyboard = nullptr;
};

} // namespace kavrin
