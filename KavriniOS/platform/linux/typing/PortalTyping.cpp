// SPDX-License-Identifier: MIT
#include "platform/linux/typing/PortalTyping.h"

#include "platform/linux/SelectionCommand.h"
#include "platform/linux/typing/Selections.h"

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

/// How long the desktop may take until programs can paste. GNOME tells nobody, and a paste that comes before
/// is lost.
constexpr std::chrono::milliseconds delay{500};

} // namespace

QString PortalTyping::name() const
{
    return u"desktop portal"_s;
}

QCoro::Task<> PortalTyping::paste(QString text, Check check)
{
    // The desktop's question has the focus while it is there.
    const QCoro::Task<> pluggingIn = m_keyboard.plugIn();
    co_await pluggingIn;
    const QCoro::Task<> selecting = selectText(text);
    co_await selecting;
    if (isSelectionLate()) {
        const QCoro::Task<> waiting = m_pause(delay);
        co_await waiting;
    }
    const QCoro::Task<> checking = check();
    co_await checking;
    const QCoro::Task<> pressing = m_keyboard.pressShiftInsert();
    co_await pressing;
}

} // namespace kavrin
