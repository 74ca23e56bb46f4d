// SPDX-License-Identifier: MIT
#include "codes/Codes.h"
#include "codes/NaiveCodes.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

using namespace kavrin;
using namespace Qt::StringLiterals;

namespace
{

/// Draws texts that often hold codes, or nearly do. The same texts each time.
class RandomTexts
{
public:
    QString next()
    {
        QString text;
        for (auto count = m_random() % longest; count > 0; --count) {
            text += piece();
        }
        return text;
    }

private:
    static constexpr unsigned longest = 12;

    const QString &piece()
    {
        static const std::vector<std::vector<QString>> kinds = {
            {u"1"_s, u"2"_s, u"90"_s, u"482"_s, u"7788"_s, u"4821"_s},
            {u"123-456"_s, u"654 321"_s, u"12345"_s, u"482913"_s, u"12345678"_s, u"123456789"_s},
            {u" "_s, u"-"_s, u" "_s, u"-"_s, u"\n"_s, u"\t"_s, u"\r\n"_s, u"."_s, u"\u00A0"_s, u"\u2028"_s,
             u"\u2013"_s},
            {u"code"_s, u"KOD"_s, u"Otp"_s, u"verif"_s, u"Doğrulama"_s, u"DOGRULAMA"_s, u"passcode"_s,
             u"security"_s, u"Şifre"_s, u"sifre"_s, u"pin"_s},
            {u"c"_s, u"co"_s, u"de"_s, u"K"_s, u"od"_s, u"doğ"_s, u"rulama"_s, u"ş"_s, u"Ş"_s, u"ifre"_s,
             u"P"_s, u"in"_s},
            {u"İ"_s, u"ı"_s, u"ğ"_s, u"\u017F"_s, u"\u212A"_s, u"\u0307"_s, u"\u0301"_s, u"\u200B"_s,
             u"\uFEFF"_s},
            {u"٤٨٢١"_s, u"４"_s, u"४"_s, u"²"_s, u"\U0001D7D2"_s, u"\U0001F510"_s,
             u"\U0001F468\u200D\U0001F469"_s},
            {QString(QChar(0)), QString(QChar(0x1F)), QString(QChar(0xD83D)), QString(QChar(0xDE00)),
             u"\u202E"_s},
        };
        // Digits and separators twice as often as the rest.
        static constexpr unsigned weighted[] = {0, 0, 1, 2, 2, 3, 4, 5, 6, 7};
        const std::vector<QString> &kind = kinds.at(weighted[m_random() % std::size(weighted)]);
        return kind.at(m_random() % kind.size());
    }

    std::mt19937 m_random{20260731};
};

} // namespace

TEST(Codes, RandomTextsHoldWhatThePlainWayFinds)
{
    RandomTexts texts;
    int pure = 0;
    int embedded = 0;
    for (int count = 0; count < 200'000; ++count) {
        const QString text = texts.next();
        const std::optional<Codes::Code> found = Codes::extract(text);
        if (found != test::naiveExtract(text)) {
            EXPECT_EQ(found, test::naiveExtract(text)) << "in \"" << text.toStdString() << "\"";
        }
        pure += found && found->pure ? 1 : 0;
        embedded += found && !found->pure ? 1 : 0;
    }
    // The texts are worth comparing only where there is something to find.
    EXPECT_GT(pure, 2'000);
    EXPECT_GT(embedded, 20'000);
}

TEST(Codes, RandomMixturesOfCharactersAreCountedAsUsersPerceiveThem)
{
    // Each is one character beside any of the others.
    const std::vector<QString> characters = {u"a"_s,
                                             u"ş"_s,
                                             u" "_s,
                                             u"\r\n"_s,
                                             u"e\u0301"_s,
                                             u"\U0001D4D0"_s,
                                             u"\U0001F44D\U0001F3FD"_s,
                                             u"\U0001F1F9\U0001F1F7"_s,
                                             u"\U0001F468\u200D\U0001F469\u200D\U0001F467"_s,
                                             u"\u2764\uFE0F\u200D\U0001F525"_s,
                                             QString(QChar(0)),
                                             u"\uFFFD"_s,
                                             u"한"_s,
                                             u"नि"_s};
    std::mt19937 random(499);
    for (int count = 0; count < 2'000; ++count) {
        const qsizetype length = 480 + qsizetype(random() % 40);
        QString text = u"code 4821 <"_s;
        for (qsizetype number = text.size() + 1; number < length; ++number) {
            text += characters.at(random() % characters.size());
        }
        text += u'>';
        ASSERT_EQ(Codes::extract(text).has_value(), length < 500) << length << " characters";
    }
}
