// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <optional>

namespace kavrin
{

/// What the one key of a dictation means. Held, it records until it is released. Tapped, it records until it
/// is tapped again. It knows no clock: `now` is a time of any clock that only goes forward.
class DictationKey
{
public:
    using Time = std::chrono::milliseconds;

    enum class Action { None, Begin, End, Cancel };

    /// A press that is shorter is a tap.
    static constexpr Time longestTap{400};

    /// A key that is held says "pressed" over and over. After a longer silence, another "pressed" means that
    /// the release was lost.
    static constexpr Time longestRepeat{2000};

    /// How long after the key people release its modifiers.
    static constexpr Time longestModifier{200};

    Action press(Time now);
    Action release(Time now);

    /// A whole tap at once, for desktops that tell of no release. It ends a press that lacks one.
    Action toggle();

    Action cancel();

    /// Whether it is pressed, or was a moment ago: its modifiers are released after it. Desktops that tell
    /// of no release leave that open.
    [[nodiscard]] bool isHeld(Time now) const;

    /// The dictation is over, whoever has ended it.
    void over() { m_isOn = false; }

private:
    Action turn();

    struct Hold {
        Time since; ///< when the key was pressed
        Time seen; ///< when it was last said to be pressed
        bool hasBegun; ///< whether this press has begun the dictation
    };

    bool m_isOn = false; ///< whether the next tap ends a dictation
    std::optional<Hold> m_hold; ///< none while the key is up
    std::optional<Time> m_released; ///< when it was last released
};

} // namespace kavrin
