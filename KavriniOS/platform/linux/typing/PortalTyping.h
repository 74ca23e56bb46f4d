// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/typing/Pasting.h"
#include "platform/linux/typing/PortalKeyboard.h"

#include <functional>
#include <utility>

namespace kavrin
{

/// Types under Wayland desktops that ask their user before another program may (GNOME, Plasma). The text is
/// put on the clipboard and on the primary selection, and Shift+Insert is pressed by the desktop's portal.
///
/// The text is not typed key by key: desktops drop the characters that the user's layout lacks without a
/// word, and nothing tells which layout is in use.
class PortalTyping : public Pasting
{
    Q_OBJECT

public:
    /// Resumes after that time.
    using Pause = std::function<QCoro::Task<>(std::chrono::milliseconds)>;

    /// `keyboard` must outlive this object. It stays plugged in afterwards.
    explicit PortalTyping(PortalKeyboard &keyboard, Pause pause = kavrin::pause)
        : m_keyboard(keyboard), m_pause(std::move(pause))
    {
    }

    [[nodiscard]] QString name() const override;

private:
    /// The desktop may ask the user first.
    QCoro::Task<> paste(QString text, Check check) override;

    PortalKeyboard &m_keyboard;
    Pause m_pause;
};

} // namespace kavrin
