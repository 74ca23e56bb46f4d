// SPDX-License-Identifier: MIT
#include "tools/typist/DictationKey.h"

#include <gtest/gtest.h>

#include <vector>

namespace kavrin
{

namespace
{

using namespace std::chrono_literals;
using Action = DictationKey::Action;

struct Event {
    enum Kind { Press, Release, Toggle, Cancel, Over } kind;
    DictationKey::Time at;
    Action action; ///< what it makes the key do
};

Action happen(DictationKey &key, const Event &event)
{
    switch (event.kind) {
    case Event::Press:
        return key.press(event.at);
    case Event::Release:
        return key.release(event.at);
    case Event::Toggle:
        return key.toggle();
    case Event::Cancel:
        return key.cancel();
    case Event::Over:
        key.over();
    }
    return Action::None;
}

void tell(const std::vector<Event> &story)
{
    DictationKey key;
    for (const Event &event : story) {
        EXPECT_EQ(happen(key, event), event.action) << "at " << event.at.count() << " ms";
    }
}

constexpr Action none = Action::None;
constexpr Action begin = Action::Begin;
constexpr Action end = Action::End;
constexpr Action cancel = Action::Cancel;

} // namespace

TEST(DictationKey, HeldItRecordsUntilItIsReleased)
{
    tell({{Event::Press, 0ms, begin}, {Event::Release, 401ms, end}});
}

TEST(DictationKey, TappedItRecordsUntilItIsTappedAgain)
{
    tell({{Event::Press, 0ms, begin},
          {Event::Release, 400ms, none},
          {Event::Press, 5000ms, end},
          {Event::Release, 5100ms, none}});
}

TEST(DictationKey, TheEndOfATapThatEndsIsNoMatterHowLongItTakes)
{
    tell({{Event::Press, 0ms, begin},
          {Event::Release, 100ms, none},
          {Event::Press, 1000ms, end},
          {Event::Release, 3000ms, none}});
}

TEST(DictationKey, RepeatedPressesWhileItIsHeldChangeNothing)
{
    tell({{Event::Press, 0ms, begin},
          {Event::Press, 600ms, none},
          {Event::Press, 640ms, none},
          {Event::Press, 2600ms, none},
          {Event::Release, 2620ms, end}});
}

TEST(DictationKey, RepeatedPressesOfTheTapThatEndsChangeNothing)
{
    tell({{Event::Toggle, 0ms, begin},
          {Event::Press, 0ms, end},
          {Event::Press, 600ms, none},
          {Event::Release, 700ms, none},
          {Event::Press, 800ms, begin}});
}

TEST(DictationKey, TwoShortcutsAtOnceAreOne)
{
    tell({{Event::Press, 0ms, begin},
          {Event::Press, 1ms, none},
          {Event::Release, 900ms, end},
          {Event::Release, 901ms, none}});
}

TEST(DictationKey, AReleaseThatWasLostDoesNotBlockIt)
{
    tell({{Event::Press, 0ms, begin}, {Event::Press, 2001ms, end}, {Event::Release, 2100ms, none}});
}

TEST(DictationKey, AReleaseWithoutAPressIsNothing)
{
    tell({{Event::Release, 0ms, none}, {Event::Press, 1ms, begin}});
}

TEST(DictationKey, IsHeldFromThePressUntilItsModifiersAreReleased)
{
    DictationKey key;
    EXPECT_FALSE(key.isHeld(0ms));
    key.press(0ms);
    EXPECT_TRUE(key.isHeld(5000ms));
    key.release(5000ms);
    EXPECT_TRUE(key.isHeld(5199ms));
    EXPECT_FALSE(key.isHeld(5200ms));
}

TEST(DictationKey, ToggleBeginsAndEnds)
{
    tell({{Event::Toggle, 0ms, begin}, {Event::Toggle, 1ms, end}, {Event::Toggle, 2ms, begin}});
}

TEST(DictationKey, ToggleEndsAPressWhoseReleaseNobodyTells)
{
    DictationKey key;
    key.press(0ms);
    EXPECT_EQ(key.toggle(), end);
    EXPECT_FALSE(key.isHeld(1ms));
}

TEST(DictationKey, ADictationThatEndsByItselfLeavesTheReleaseNothingToDo)
{
    tell({{Event::Press, 0ms, begin},
          {Event::Over, 500ms, none},
          {Event::Press, 600ms, none},
          {Event::Release, 900ms, none},
          {Event::Press, 1000ms, begin}});
}

TEST(DictationKey, CancelWhileItIsHeldLeavesTheReleaseNothingToDo)
{
    tell({{Event::Press, 0ms, begin},
          {Event::Cancel, 500ms, cancel},
          {Event::Release, 900ms, none},
          {Event::Press, 1000ms, begin}});
}

TEST(DictationKey, CancelAfterTheEndIsForTheTranscription)
{
    tell({{Event::Toggle, 0ms, begin}, {Event::Toggle, 1ms, end}, {Event::Cancel, 2ms, cancel}});
}

} // namespace kavrin
