// SPDX-License-Identifier: MIT
#include "tools/typist/DictationKey.h"

#include <utility>

namespace kavrin
{

using Action = DictationKey::Action;

Action DictationKey::press(Time now)
{
    const bool isRepeat = m_hold && now - m_hold->seen <= longestRepeat;
    if (isRepeat) {
        m_hold->seen = now;
        return Action::None;
    }
    const Action action = turn();
    m_hold = Hold{.since = now, .seen = now, .hasBegun = action == Action::Begin};
    return action;
}

Action DictationKey::release(Time now)
{
    const std::optional<Hold> hold = std::exchange(m_hold, std::nullopt);
    m_released = now;
    const bool isEnd = hold && hold->hasBegun && m_isOn && now - hold->since > longestTap;
    return isEnd ? turn() : Action::None;
}

bool DictationKey::isHeld(Time now) const
{
    return m_hold || (m_released && now - *m_released < longestModifier);
}

Action DictationKey::toggle()
{
    m_hold.reset();
    return turn();
}

Action DictationKey::turn()
{
    m_isOn = !m_isOn;
    return m_isOn ? Action::Begin : Action::End;
}

Action DictationKey::cancel()
{
    m_isOn = false;
    return Action::Cancel;
}

} // namespace kavrin
