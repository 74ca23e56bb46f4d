// SPDX-License-Identifier: MIT
#include "codes/Codes.h"

#include "codes/NaiveCodes.h"

#include <gtest/gtest.h>

using namespace kavrin;
using namespace Qt::StringLiterals;

namespace
{

using Found = std::optional<Codes::Code>;

struct Row {
    const char *name;
    QString text;
    Found expected;
};

Found pure(const QString &code)
{
    return Codes::Code{code, true};
}

Found embedded(const QString &code)
{
    return Codes::Code{code, false};
}

constexpr std::nullopt_t none = std::nullopt;

void expect(std::initializer_list<Row> rows)
{
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Codes::extract(row.text), row.expected);
    }
}

/// A message with a code and as often a user-perceived character as makes it `length` characters long.
QString messageOfLength(qsizetype length, const QString &character)
{
    const QString begin = u"code 4821 <"_s;
    const QString end = u">"_s;
    return begin + character.repeated(length - begin.size() - end.size()) + end;
}

} // namespace

TEST(Codes, ATextThatIsACodeNeedsNoKeyword)
{
    expect({
        {"4 digits", u"4821"_s, pure(u"4821"_s)},
        {"8 digits", u"48214821"_s, pure(u"48214821"_s)},
        {"leading zeros", u"000042"_s, pure(u"000042"_s)},
        {"two blanks before, a newline after", u"  482913\n"_s, pure(u"482913"_s)},
        {"split by a hyphen", u"123-456"_s, pure(u"123456"_s)},
        {"split by a blank", u"123 456"_s, pure(u"123456"_s)},
        {"split, with white space round it", u"\r\n\t123 456 \r\n"_s, pure(u"123456"_s)},
    });
}

TEST(Codes, OtherTextsWithoutAKeywordHoldNone)
{
    expect({
        {"nothing", u""_s, none},
        {"no string at all", QString(), none},
        {"white space", u" \t\r\n\u00A0"_s, none},
        {"3 digits", u"482"_s, none},
        {"9 digits", u"482148214"_s, none},
        {"a full stop after the digits", u"482913."_s, none},
        {"a hyphen after the groups", u"123-456-"_s, none},
        {"two blanks between the groups", u"123  456"_s, none},
        {"a newline between the groups", u"123\n456"_s, none},
        {"two codes, each in a line of its own", u"482913\n482914"_s, none},
        {"groups of 3 and 4", u"123-4567"_s, none},
        {"a sign", u"+4821"_s, none},
        {"an order number", u"Your order 55213 has been sent."_s, none},
        {"a phone number", u"Call 555 0199 or 01632 960123."_s, none},
    });
}

TEST(Codes, AMessageWithAKeywordHoldsTheFirstCode)
{
    expect({
        {"split by a blank", u"your code is 123 456"_s, embedded(u"123456"_s)},
        {"split by a hyphen", u"code: 123-456."_s, embedded(u"123456"_s)},
        {"a run", u"Your code is 482913."_s, embedded(u"482913"_s)},
        {"the code first", u"482913 is your code"_s, embedded(u"482913"_s)},
        {"touching letters", u"codeA4821B"_s, embedded(u"4821"_s)},
        {"the keyword after a newline", u"4821\ncode"_s, embedded(u"4821"_s)},
        {"a split wins over an earlier run", u"code 7788 or 123-456"_s, embedded(u"123456"_s)},
        {"the leftmost run", u"verification: 4821, then 99881234"_s, embedded(u"4821"_s)},
        {"the leftmost split", u"code 111-222 333-444"_s, embedded(u"111222"_s)},
        {"proximity to the keyword does not count", u"4821 is a number; the code is 9988"_s,
         embedded(u"4821"_s)},
        {"8 digits", u"code 12345678"_s, embedded(u"12345678"_s)},
        {"a number too long before it", u"code 123456789, 4821"_s, embedded(u"4821"_s)},
        {"three groups of three", u"code 123-456-789"_s, embedded(u"123456"_s)},
        {"a split after a short number", u"code 12-123-456"_s, embedded(u"123456"_s)},
        {"an order number beside it", u"code 55213 for order 4821"_s, embedded(u"55213"_s)},
    });
}

TEST(Codes, NoPartOfALongerNumberIsACode)
{
    expect({
        {"PIN and ten digits", u"PIN 4821482148"_s, none},
        {"9 digits", u"code 482148214"_s, none},
        {"a digit before the groups", u"code 1123-456"_s, embedded(u"1123"_s)},
        {"a digit after the groups", u"code 123-4567"_s, embedded(u"4567"_s)},
        {"digits on both sides", u"code 91234-56789 x"_s, embedded(u"91234"_s)},
        {"3 digits and 3 digits apart", u"code 123, 456"_s, none},
        {"another separator", u"code 123.456"_s, none},
        {"an en dash", u"code 123\u2013456"_s, none},
        {"a no-break space", u"code 123\u00A0456"_s, none},
        {"a TAB", u"code 123\t456"_s, none},
        {"2 and 2 digits", u"code 12 34"_s, none},
        {"single digits", u"code 1 2 3 4 5 6"_s, none},
    });
}

TEST(Codes, EveryKeywordCountsInAnyCaseAndWithinWords)
{
    for (const QString &text :
         {u"code"_s,     u"kod"_s,      u"otp"_s,          u"verif"_s,     u"doğrulama"_s, u"dogrulama"_s,
          u"passcode"_s, u"security"_s, u"şifre"_s,        u"sifre"_s,     u"pin"_s,       u"CODE"_s,
          u"KoD"_s,      u"OTP"_s,      u"VERIF"_s,        u"Doğrulama"_s, u"DOĞRULAMA"_s, u"DOGRULAMA"_s,
          u"PassCode"_s, u"SECURITY"_s, u"Şifre"_s,        u"SIFRE"_s,     u"PIN"_s,       u"barcode"_s,
          u"kodunuz"_s,  u"hotpot"_s,   u"Verification"_s, u"opinion"_s,   u"şifreniz"_s,  u"\u212Aod"_s}) {
        SCOPED_TRACE(text.toStdString());
        EXPECT_EQ(Codes::extract(text + u" 5521"_s), embedded(u"5521"_s));
        EXPECT_EQ(Codes::extract(u"5521"_s + text), embedded(u"5521"_s));
    }
}

TEST(Codes, AKeywordMayBeDecomposed)
{
    for (const QString &text :
         {u"Şifre"_s, u"ŞiFRE"_s, u"şifreniz"_s, u"Doğrulama"_s, u"DOĞRULAMA"_s, u"doğrulamanız"_s}) {
        SCOPED_TRACE(text.toStdString());
        const QString decomposed = text.normalized(QString::NormalizationForm_D);
        EXPECT_NE(decomposed, text);
        EXPECT_EQ(Codes::extract(decomposed + u" 5521"_s), embedded(u"5521"_s));
    }
    EXPECT_EQ(Codes::extract(u"s\u0323ifre\u0327 5521"_s), none);
}

TEST(Codes, WhatOnlyLooksLikeAKeywordDoesNotCount)
{
    for (const QString &text :
         {u"co de"_s, u"c0de"_s, u"cod"_s, u"p-i-n"_s, u"doğru lama"_s, u"secur1ty"_s, u"codé"_s,
          // In lower case the capital I with a dot is an i and a combining dot, wherever the text was
          // written.
          u"ŞİFRE"_s, u"PİN"_s, u"VERİF"_s, u"SECURİTY"_s,
          // The small i without a dot, the long s and fullwidth letters are letters of their own.
          u"p\u0131n"_s, u"\u017Fecurity"_s, u"\u017Fifre"_s, u"\uFF23\uFF2F\uFF24\uFF25"_s, u"co\u00ADde"_s,
          u"co\u200Dde"_s}) {
        SCOPED_TRACE(text.toStdString());
        EXPECT_EQ(Codes::extract(text + u" 5521"_s), none);
    }
}

TEST(Codes, KeywordsAreWhatTheLowerCaseFormOfTheTextContains)
{
    const std::pair<QString, QString> surroundings[] = {
        {u""_s, u"ode"_s},      {u"c"_s, u"de"_s},      {u"co"_s, u"e"_s},      {u"cod"_s, u""_s},
        {u""_s, u"od"_s},       {u"o"_s, u"p"_s},       {u"ot"_s, u""_s},       {u"v"_s, u"rif"_s},
        {u"ve"_s, u"if"_s},     {u"ver"_s, u"f"_s},     {u"do"_s, u"rulama"_s}, {u""_s, u"ifre"_s},
        {u""_s, u"ecurity"_s},  {u"sec"_s, u"rity"_s},  {u"securit"_s, u""_s},  {u"doğru"_s, u"ama"_s},
        {u"doğrul"_s, u"ma"_s}, {u"doğrula"_s, u"a"_s}, {u"pi"_s, u""_s},
    };
    for (char32_t character = 0; character < 0x10000; ++character) {
        for (const auto &[before, after] : surroundings) {
            const QString text = before + QChar(char16_t(character)) + after + u" 5521"_s;
            if (Codes::extract(text) != test::naiveExtract(text)) {
                ADD_FAILURE() << "U+" << std::hex << uint32_t(character) << " in " << text.toStdString();
            }
        }
    }
}

TEST(Codes, WhiteSpaceAndNewlinesRoundACodeDoNotCount)
{
    for (const char16_t blank :
         u"\t\n\v\f\r \u0085\u00A0\u1680\u2000\u2001\u2002\u2003\u2004\u2005\u2006\u2007\u2008"
         u"\u2009\u200A\u2028\u2029\u202F\u205F\u3000"_s.toStdU16String()) {
        SCOPED_TRACE(testing::Message() << "U+" << std::hex << unsigned(blank));
        const QString blanks(2, QChar(blank));
        EXPECT_EQ(Codes::extract(blanks + u"482913"_s + blanks), pure(u"482913"_s));
    }
}

TEST(Codes, OtherInvisibleCharactersRoundACodeAreText)
{
    for (const char16_t character :
         u"\0\u0001\u001B\u001C\u001D\u001E\u001F\u007F\u00AD\u180E\u200B\u200D\u200E\u200F"
         u"\u202E\u2060\u2066\u2800\uFEFF"_s.toStdU16String()) {
        SCOPED_TRACE(testing::Message() << "U+" << std::hex << unsigned(character));
        EXPECT_EQ(Codes::extract(u"482913"_s + QChar(character)), none);
        EXPECT_EQ(Codes::extract(QChar(character) + u"482913"_s), none);
        EXPECT_EQ(Codes::extract(QChar(character) + u"482913 code"_s), embedded(u"482913"_s));
    }
}

TEST(Codes, OnlyTheDigitsOfAsciiCount)
{
    const std::pair<const char *, QString> scripts[] = {
        {"Arabic-Indic", u"٤٨٢١"_s},
        {"Persian", u"۴۸۲۱"_s},
        {"Devanagari", u"४८२१"_s},
        {"fullwidth", u"４８２１"_s},
        {"superscript", u"⁴⁸²¹"_s},
        {"circled", u"④⑧②①"_s},
        {"mathematical", u"\U0001D7D2\U0001D7D6\U0001D7D0\U0001D7CF"_s},
    };
    for (const auto &[name, digits] : scripts) {
        SCOPED_TRACE(name);
        EXPECT_EQ(Codes::extract(digits), none);
        EXPECT_EQ(Codes::extract(u"code "_s + digits), none);
        EXPECT_EQ(Codes::extract(u"code "_s + digits + u"4821"_s + digits), embedded(u"4821"_s));
        EXPECT_EQ(Codes::extract(u"code "_s + digits + u"123-456"_s + digits), embedded(u"123456"_s));
    }
}

TEST(Codes, HostileCharactersHideNoCode)
{
    const QChar high(0xD83D);
    const QChar low(0xDE00);
    expect({
        {"NUL", u"code\0 4821"_s, embedded(u"4821"_s)},
        {"NUL within the keyword", u"co\0de 4821"_s, none},
        {"control characters", u"\u0001code\u001B[31m 4821\u007F"_s, embedded(u"4821"_s)},
        {"right-to-left marks", u"\u200Fcode\u200F \u202E4821\u202C"_s, embedded(u"4821"_s)},
        {"isolates", u"kod: \u20664821\u2069"_s, embedded(u"4821"_s)},
        {"emoji", u"code\U0001F510 4821\U0001F642"_s, embedded(u"4821"_s)},
        {"keycaps", u"code 4\uFE0F\u20E38\uFE0F\u20E32\uFE0F\u20E31\uFE0F\u20E3"_s, none},
        {"combining marks on the digits", u"code 4821\u0301"_s, embedded(u"4821"_s)},
        {"the first half of a pair", u"code "_s + high + u" 4821"_s, embedded(u"4821"_s)},
        {"the second half of a pair", low + u"code 123-456"_s, embedded(u"123456"_s)},
        {"halves in the wrong order", u"code "_s + low + high + u"4821"_s, embedded(u"4821"_s)},
        {"half a pair and a code alone", high + u"4821"_s, none},
        {"half a pair at the end", u"4821 code"_s + high, embedded(u"4821"_s)},
        {"Turkish", u"Doğrulama kodunuz: 5521. Kimseyle paylaşmayınız."_s, embedded(u"5521"_s)},
    });
}

TEST(Codes, ATextOf500UserPerceivedCharactersHoldsNone)
{
    const std::pair<const char *, QString> characters[] = {
        {"a letter", u"a"_s},
        {"a letter outside the basic plane", u"\U0001D4D0"_s},
        {"a letter and its marks", u"e\u0301\u0323"_s},
        {"a syllable of jamo", u"\u1112\u1161\u11AB"_s},
        {"a consonant and its vowel sign", u"\u0928\u093F"_s},
        {"CR and LF", u"\r\n"_s},
        {"a family", u"\U0001F468\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466"_s},
        {"a skin tone", u"\U0001F44D\U0001F3FD"_s},
        {"a flag", u"\U0001F1F9\U0001F1F7"_s},
        {"a keycap", u"#\uFE0F\u20E3"_s},
        {"a control character", QString(QChar(1))},
        {"half a pair", QString(QChar(0xD83D))},
    };
    for (const auto &[name, character] : characters) {
        SCOPED_TRACE(name);
        EXPECT_EQ(Codes::extract(messageOfLength(499, character)), embedded(u"4821"_s));
        EXPECT_EQ(Codes::extract(messageOfLength(500, character)), none);
    }
}

TEST(Codes, TheLimitCountsAfterTrimming)
{
    const QString blanks = u" \n"_s.repeated(1000);
    EXPECT_EQ(Codes::extract(blanks + u"4821"_s + blanks), pure(u"4821"_s));
    EXPECT_EQ(Codes::extract(blanks + messageOfLength(499, u"a"_s) + blanks), embedded(u"4821"_s));
    EXPECT_EQ(Codes::extract(blanks + messageOfLength(500, u"a"_s) + blanks), none);
    EXPECT_EQ(Codes::extract(messageOfLength(600, u"a"_s)), none);
}

TEST(Codes, AMegabyteIsAnswered)
{
    constexpr qsizetype size = 1'000'000;
    expect({
        {"letters", messageOfLength(size, u"a"_s), none},
        {"digits", u"code "_s + QString(size, u'4'), none},
        {"numbers", u"code 123-4567 "_s.repeated(size / 14), none},
        {"white space", QString(size, u' '), none},
        {"NUL", QString(size, QChar(0)), none},
        {"halves of pairs", QString(size, QChar(0xD83D)) + u"code 4821"_s, none},
        {"a code in white space", QString(size, u'\n') + u"482913"_s, pure(u"482913"_s)},
        {"one character of many marks", u"code e"_s + QString(size, QChar(0x0301)) + u" 4821"_s,
         embedded(u"4821"_s)},
    });
}
