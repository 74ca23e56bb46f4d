// SPDX-License-Identifier: MIT
#include "platform/linux/typing/VirtualKeyboard.h"

#include "platform/linux/typing/Pasting.h"

#include <QDeadlineTimer>
#include <QScopeGuard>

#include <linux/input-event-codes.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>

#include <array>
#include <chrono>
#include <string_view>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds patience = 2s;

// The protocol virtual-keyboard-unstable-v1, as wayland-scanner would write it. Requests are numbered in
// order.

enum KeyboardRequest : uint32_t { keymapRequest, keyRequest, modifiersRequest };
enum ManagerRequest : uint32_t { createRequest };

constexpr const char *managerName = "zwp_virtual_keyboard_manager_v1";

std::array<const wl_interface *, 4> plainTypes{};
const std::array keyboardRequests = {
    wl_message{"keymap", "uhu", plainTypes.data()},
    wl_message{"key", "uuu", plainTypes.data()},
    wl_message{"modifiers", "uuuu", plainTypes.data()},
    wl_message{"destroy", "", plainTypes.data()},
};
const wl_interface keyboardInterface{"zwp_virtual_keyboard_v1", 1, keyboardRequests.size(),
                                     keyboardRequests.data(),   0, nullptr};

std::array<const wl_interface *, 2> createTypes = {&wl_seat_interface, &keyboardInterface};
const std::array managerRequests = {wl_message{"create_virtual_keyboard", "on", createTypes.data()}};
const wl_interface managerInterface{managerName, 1,      managerRequests.size(), managerRequests.data(),
                                    0,           nullptr};

/// An ordinary keyboard, because GTK finds no shortcut on one that has only the keys to press.
constexpr std::string_view keymap = R"keymap(xkb_keymap {
    xkb_keycodes { include "evdev+aliases(qwerty)" };
    xkb_types { include "complete" };
    xkb_compat { include "complete" };
    xkb_symbols { include "pc+us+inet(evdev)" };
};)keymap";

constexpr uint32_t noModifier = 0;
constexpr uint32_t shift = 1;

Error noVirtualKeyboard()
{
    return typingError(
        u"This desktop has no virtual keyboard for other programs. Paste the text yourself."_s);
}

Error noCompositor()
{
    return typingError(u"The Wayland compositor does not answer. Log out and in again."_s);
}

uint32_t now()
{
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(time).count());
}

void ignoreRemoval(void * /*data*/, wl_registry * /*registry*/, uint32_t /*name*/) { }

void noteDone(void *isDone, wl_callback * /*callback*/, uint32_t /*data*/)
{
    *static_cast<bool *>(isDone) = true;
}

} // namespace

void VirtualKeyboard::Disconnect::operator()(wl_display *display) const
{
    wl_display_disconnect(display);
}

VirtualKeyboard::VirtualKeyboard() : m_display(wl_display_connect(nullptr))
{
    if (!m_display) {
        throw noCompositor();
    }
    findGlobals();
    m_keyboard = wl_proxy_marshal_flags(m_manager, createRequest, &keyboardInterface, 1, 0, m_seat, nullptr);
    sendKeymap();
    awaitCompositor();
}

VirtualKeyboard::~VirtualKeyboard()
{
    // The compositor destroys its side with the connection.
    for (wl_proxy *proxy : {m_keyboard, m_manager, reinterpret_cast<wl_proxy *>(m_seat)}) {
        if (proxy != nullptr) {
            wl_proxy_destroy(proxy);
        }
    }
}

void VirtualKeyboard::findGlobals()
{
    static const wl_registry_listener listener{onGlobal, ignoreRemoval};
    wl_registry *registry = wl_display_get_registry(m_display.get());
    const auto end = qScopeGuard([&] { wl_registry_destroy(registry); });
    wl_registry_add_listener(registry, &listener, this);
    awaitCompositor();
    if (m_seat == nullptr || m_manager == nullptr) {
        throw noVirtualKeyboard();
    }
}

void VirtualKeyboard::onGlobal(void *self, wl_registry *registry, uint32_t name, const char *interface,
                               uint32_t /*version*/)
{
    auto *keyboard = static_cast<VirtualKeyboard *>(self);
    const std::string_view kind = interface;
    if (kind == wl_seat_interface.name && keyboard->m_seat == nullptr) {
        keyboard->m_seat = static_cast<wl_seat *>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
    } else if (kind == managerName) {
        keyboard->m_manager = static_cast<wl_proxy *>(wl_registry_bind(registry, name, &managerInterface, 1));
    }
}

void VirtualKeyboard::sendKeymap()
{
    const int file = ::memfd_create("keymap", MFD_CLOEXEC);
    const auto end = qScopeGuard([&] { ::close(file); });
    const size_t size = keymap.size() + 1; // with its NUL
    if (file < 0 || ::write(file, keymap.data(), size) != static_cast<ssize_t>(size)) {
        throw typingError(u"The memory for a virtual keyboard cannot be had."_s);
    }
    wl_proxy_marshal_flags(m_keyboard, keymapRequest, nullptr, 1, 0, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, file,
                           static_cast<uint32_t>(size));
}

void VirtualKeyboard::pressShiftInsert()
{
    awaitCompositor(); // after what other programs have asked of it before, such as to set the clipboard
    sendKey(KEY_LEFTSHIFT, true);
    sendModifiers(shift);
    sendKey(KEY_INSERT, true);
    sendKey(KEY_INSERT, false);
    sendKey(KEY_LEFTSHIFT, false);
    sendModifiers(noModifier);
    awaitCompositor();
}

void VirtualKeyboard::sendKey(uint32_t key, bool isDown)
{
    const uint32_t state = isDown ? WL_KEYBOARD_KEY_STATE_PRESSED : WL_KEYBOARD_KEY_STATE_RELEASED;
    wl_proxy_marshal_flags(m_keyboard, keyRequest, nullptr, 1, 0, now(), key, state);
}

void VirtualKeyboard::sendModifiers(uint32_t depressed)
{
    wl_proxy_marshal_flags(m_keyboard, modifiersRequest, nullptr, 1, 0, depressed, 0U, 0U, 0U);
}

/// Returns when the compositor has taken all requests. Throws Error where it refuses one, or hangs.
void VirtualKeyboard::awaitCompositor()
{
    static const wl_callback_listener listener{noteDone};
    bool isDone = false;
    wl_callback *callback = wl_display_sync(m_display.get());
    const auto end = qScopeGuard([&] { wl_callback_destroy(callback); });
    wl_callback_add_listener(callback, &listener, &isDone);
    const QDeadlineTimer deadline(patience);
    while (!isDone) {
        if (deadline.hasExpired() || !readEvents()) {
            throw wl_display_get_error(m_display.get()) == EPROTO ? noVirtualKeyboard() : noCompositor();
        }
    }
}

/// Handles what has come, or waits a little for something to come. False where the connection is broken.
bool VirtualKeyboard::readEvents()
{
    constexpr int tick = 100; // milliseconds
    wl_display *display = m_display.get();
    if (wl_display_prepare_read(display) != 0) {
        return wl_display_dispatch_pending(display) >= 0;
    }
    wl_display_flush(display);
    pollfd waiting{wl_display_get_fd(display), POLLIN, 0};
    if (::poll(&waiting, 1, tick) <= 0) {
        wl_display_cancel_read(display);
        return true;
    }
    return wl_display_read_events(display) == 0 && wl_display_dispatch_pending(display) >= 0;
}

} // namespace kavrin
