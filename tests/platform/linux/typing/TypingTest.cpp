// SPDX-License-Identifier: MIT
#include "TypingFixture.h"
#include "platform/linux/typing/Pasting.h"

#include <gmock/gmock.h>

#include <string>
#include <tuple>

namespace kavrin::test
{

using namespace Qt::StringLiterals;

class TypingTest : public testing::TestWithParam<std::tuple<std::string, std::string>>
{
protected:
    void SetUp() override
    {
        const auto &[display, program] = GetParam();
        if (display == "X11") {
            m_display = std::make_unique<PrivateX11Display>();
        } else {
            m_display = std::make_unique<PrivateWaylandDisplay>();
            m_display->show(u"wtype"_s, {u"-s"_s, u"600000"_s, u"x"_s}); // the keyboard of the desk
        }
        showField(*m_display, QString::fromStdString(program));
        Result<std::unique_ptr<Typing>> found = findTyping(m_keyboard);
        ASSERT_FALSE(found.failure) << found.failure->what();
        m_typing = std::move(found.value);
    }

    void expectTyped(const QString &text)
    {
        m_expected += text;
        ASSERT_EQ(type(*m_typing, text), u"");
        EXPECT_TRUE(waitUntil([&] { return fieldText() == m_expected; })) << qPrintable(fieldText());
    }

    std::unique_ptr<PrivateDisplay> m_display;
    PortalKeyboard m_keyboard;
    std::unique_ptr<Typing> m_typing;
    QString m_expected;
};

TEST_P(TypingTest, PutsEveryCharacterWhereTheCursorIs)
{
    expectTyped(everyKind);
}

TEST_P(TypingTest, PutsTextsOneAfterTheOther)
{
    for (int round = 0; round < 5; ++round) {
        expectTyped(textOf(200 + round));
    }
}

TEST_P(TypingTest, PutsALongTextWhole)
{
    expectTyped(textOf(10'000));
}

TEST_P(TypingTest, PressesNothingForATextWithControlCharacters)
{
    EXPECT_THAT(type(*m_typing, u"rm\n"_s).toStdString(), testing::HasSubstr("line breaks"));
    EXPECT_THAT(type(*m_typing, u"\x1b[A"_s).toStdString(), testing::HasSubstr("line breaks"));
    EXPECT_EQ(type(*m_typing, u""_s), u"");
    expectTyped(u"a"_s);
}

TEST_P(TypingTest, PressesNothingForATextThatMayNotBeTypedAnyMore)
{
    const auto refuse = []() -> QCoro::Task<> {
        throw typingError(u"The session is locked."_s);
        co_return;
    };
    EXPECT_EQ(type(*m_typing, u"secret"_s, refuse), u"The session is locked.");
    expectTyped(u"a"_s);
}

INSTANTIATE_TEST_SUITE_P(Fields, TypingTest,
                         testing::Combine(testing::Values("X11", "Wayland"),
                                          testing::Values("Qt", "GTK", "Terminal", "Chromium")),
                         [](const auto &field) {
                             return std::get<0>(field.param) + "_" + std::get<1>(field.param);
                         });

} // namespace kavrin::test
