// SPDX-License-Identifier: MIT
#include "platform/linux/typing/PortalTyping.h"

#include "platform/linux/typing/WlCopy.h"

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

/// How long the focus may take to go back. GNOME tells nobody, and keys that come before are lost.
constexpr std::chrono::milliseconds focusChange{500};

} // namespace

QString PortalTyping::name() const
{
    return u"desktop portal"_s;
}

QCoro::Task<> PortalTyping::paste(QString text)
{
    // The desktop's question has the focus while it is there.
    const QCoro::Task<> pluggingIn = m_keyboard.plugIn();
    co_await pluggingIn;
    const QCoro::Task<> selecting = selectByWlCopy(text);
    co_await selecting;
    if (wlCopyTakesFocus()) {
        const QCoro::Task<> goingBack = m_pause(focusChange);
        co_await goingBack;
    }
    const QCoro::Task<> pressing = m_keyboard.pressShiftInsert();
    co_await pressing;
}

} // namespace kavrin
