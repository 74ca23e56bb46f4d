// SPDX-License-Identifier: MIT
#include "platform/PropertyList.h"

#include <QList>

#include <gtest/gtest.h>

#include <limits>

using namespace kavrin;
using namespace Qt::StringLiterals;

namespace
{

QByteArray xml(const QByteArray &body)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + body + "</plist>";
}

QByteArray bigEndian(qsizetype value, int size)
{
    QByteArray bytes;
    for (int byte = size - 1; byte >= 0; --byte) {
        bytes += char(value >> (8 * byte));
    }
    return bytes;
}

/// The binary form of objects that refer to each other by two bytes; the first is the topmost.
QByteArray binary(const QList<QByteArray> &objects)
{
    QByteArray list = "bplist00";
    QByteArray offsets;
    for (const QByteArray &object : objects) {
        offsets += bigEndian(list.size(), 4);
        list += object;
    }
    const QByteArray trailer = QByteArray(6, '\0') + "\x04\x02" + bigEndian(objects.size(), 8)
        + bigEndian(0, 8) + bigEndian(list.size(), 8);
    return list + offsets + trailer;
}

/// Arrays in arrays, each of which refers to the next one `times` times.
QByteArray nested(int depth, int times)
{
    QList<QByteArray> objects;
    for (int level = 1; level < depth; ++level) {
        objects += QByteArray(1, char(0xA0 + times)) + bigEndian(level, 2).repeated(times);
    }
    return binary(objects << QByteArray("\xA0"));
}

} // namespace

TEST(PropertyList, ReadsEveryTypeOfTheXmlForm)
{
    const std::pair<QByteArray, PropertyListValue> rows[] = {
        {"<true/>", true},
        {"<false/>", false},
        {"<integer>-3</integer>", qint64(-3)},
        {"<real>1.5</real>", 1.5},
        {"<string>Türkçe &amp; more</string>", u"Türkçe & more"_s},
        {"<integer> 0x1F\n</integer>", qint64(31)},
        {"<integer>-9223372036854775808</integer>", std::numeric_limits<qint64>::min()},
        {"<real>-1e300</real>", -1e300},
        {"<string> a<!-- b --> <![CDATA[<c>]]></string>", u" a <c>"_s},
        {"<string/>", QString()},
        {"<date>2026-11-21T09:30:00Z</date>", Date{1795253400}},
        {"<date>9999-01-01T00:00:00Z</date>", Date{978307200.0 + std::numeric_limits<qint32>::max()}},
        {"<data>AP8B</data>", QByteArray("\0\xff\x01", 3)},
        {"<data>\n\tAP\n\t8B\n</data>", QByteArray("\0\xff\x01", 3)},
        {"<!-- a --> <true/> <!-- b -->", true},
        {"<dict><key>k</key><true/><key>k</key><false/></dict>", PropertyListDictionary{{u"k"_s, false}}},
        {"<array><string>a</string><integer>1</integer></array>", PropertyListArray{u"a"_s, qint64(1)}},
        {"<dict><key>k</key><array/></dict>", PropertyListDictionary{{u"k"_s, PropertyListArray{}}}},
    };
    for (const auto &[body, expected] : rows) {
        SCOPED_TRACE(body.toStdString());
        EXPECT_EQ(PropertyList::parse(xml(body)), expected);
    }
}

TEST(PropertyList, ABrokenListOfTheXmlFormHasNoValue)
{
    const QByteArray bodies[] = {
        "",
        "true",
        "<key>a</key>",
        "<true/><true/>",
        "<true/>junk",
        "<true>yes</true>",
        "<true><false/></true>",
        "<integer/>",
        "<integer>1.5</integer>",
        "<integer>9223372036854775808</integer>",
        "<real>one</real>",
        "<real/>",
        "<string>a<b/></string>",
        "<string>a&unknown;b</string>",
        "<date>2026-13-41T99:99:99Z</date>",
        "<date>2026-11-21T09:30:00</date>",
        "<data>A*</data>",
        "<array>junk<true/></array>",
        "<array><unknown/></array>",
        "<array><true></array>",
        "<array><true/>",
        "<dict><key>a</key></dict>",
        "<dict><true/></dict>",
        "<dict><key>a</key><true/><true/></dict>",
        "<dict><key>a</key>junk<true/></dict>",
        "<dict><key>a</key><key>b</key><true/></dict>",
        "<string>\xff</string>",
        "</plist><plist><true/>",
        QByteArray("<array>").repeated(10'000) + QByteArray("</array>").repeated(10'000),
    };
    for (const QByteArray &body : bodies) {
        SCOPED_TRACE(body.left(60).toStdString());
        EXPECT_EQ(PropertyList::parse(xml(body)), std::nullopt);
    }
    const QByteArray doctype = R"(<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://nowhere/">)";
    const QByteArray list = xml("<string>&a;</string>").replace("<plist", doctype + "<plist");
    EXPECT_EQ(PropertyList::parse(list), std::nullopt);
}

TEST(PropertyList, TheBinaryFormReadsBackAsItWasWritten)
{
    const PropertyListValue value = PropertyListDictionary{
        {u"array"_s, PropertyListArray{true, qint64(5), qint64(-5), 0.25, u"doğrulama"_s}},
        {u"data"_s, QByteArray("\0\x01", 2)},
        {u"date"_s, Date{1795253400.5}},
        {u"dict"_s, PropertyListDictionary{}},
    };
    EXPECT_EQ(PropertyList::parse(PropertyList::toBinary(value)), value);
}

TEST(PropertyList, ADateBeforeTheReferenceDateKeepsItsFraction)
{
    const QByteArray hundredAndAHalfBefore("\x33\xC0\x59\x20\0\0\0\0\0", 9); // the double -100.5
    EXPECT_EQ(PropertyList::parse(binary({hundredAndAHalfBefore})), PropertyListValue(Date{978307099.5}));
    const PropertyListValue value = Date{-0.25};
    EXPECT_EQ(PropertyList::parse(PropertyList::toBinary(value)), value);
}

TEST(PropertyList, WhatIsNoPropertyListHasNoValue)
{
    for (const QByteArray &data :
         {QByteArray(), QByteArray("hello"), QByteArray("bplist00"), QByteArray("<?xml"),
          QByteArray("<?xml version=\"1.0\"?><plist><dict>"), QByteArray(64, '\xff')}) {
        SCOPED_TRACE(data.toStdString());
        EXPECT_EQ(PropertyList::parse(data), std::nullopt);
    }
}

TEST(PropertyList, AKeyMayBeUtf16)
{
    const QByteArray list =
        binary({QByteArray("\xD1\0\x01\0\x02", 5), QByteArray("\x62\x01\x5F\0k", 5), "\x09"});
    EXPECT_EQ(PropertyList::parse(list), PropertyListValue(PropertyListDictionary{{u"şk"_s, true}}));
}

TEST(PropertyList, TheSameLongKeyInManyListsIsNotReadForEver)
{
    const QByteArray key = "\x6F\x12" + bigEndian(30'000, 4) + QByteArray("\x01\x5F", 2).repeated(30'000);
    const QByteArray dictionary("\xD1\0\x01\0\x02", 5);
    const QByteArray many("\xA9\0\x03\0\x03\0\x03\0\x03\0\x03\0\x03\0\x03\0\x03\0\x03", 19);
    EXPECT_NE(PropertyList::parse(binary({dictionary, key, "\x09"})), std::nullopt);
    EXPECT_EQ(PropertyList::parse(binary({many, key, "\x09", dictionary})), std::nullopt);
}

TEST(PropertyList, ListsInListsAreReadToASaneDepth)
{
    EXPECT_NE(PropertyList::parse(nested(100, 1)), std::nullopt);
    EXPECT_EQ(PropertyList::parse(nested(60'000, 1)), std::nullopt);
}

TEST(PropertyList, AListThatStandsForMoreThanMemoryHoldsHasNoValue)
{
    EXPECT_NE(PropertyList::parse(nested(5, 2)), std::nullopt);
    EXPECT_EQ(PropertyList::parse(nested(40, 2)), std::nullopt);
}

TEST(PropertyList, ABinaryListThatIsNotWholeHasNoValue)
{
    const std::pair<const char *, QByteArray> rows[] = {
        {"a member beyond the last object", binary({QByteArray("\xA1\0\x07", 3)})},
        {"a member of itself", binary({QByteArray("\xA1\0\0", 3)})},
        {"members that are not there", binary({"\xAE"})},
        {"a count that is not there", binary({"\xAF"})},
        {"a count of no size", binary({"\xAF\x1F"})},
        {"a key with a zero in UTF-16",
         binary({QByteArray("\xD1\0\x01\0\x02", 5), QByteArray("\x62\0k\0\0", 5), "\x09"})},
        {"a key that ends early in UTF-16",
         binary({QByteArray("\xD1\0\x01\0\x02", 5), "\x6F\x13\x7F\xFF", "\x09"})},
        {"a key without a value", binary({QByteArray("\xD1\0\x01", 3), "\x51k"})},
        {"nothing but a trailer", "bplist00" + QByteArray(32, '\0')},
        {"numbers beyond the end", "bplist00" + QByteArray(32, '\xff')},
    };
    for (const auto &[what, list] : rows) {
        SCOPED_TRACE(what);
        EXPECT_EQ(PropertyList::parse(list), std::nullopt);
    }
    const QByteArray whole = binary({QByteArray("\xA1\0\x01", 3), "\x51x"});
    EXPECT_EQ(PropertyList::parse(whole), PropertyListValue(PropertyListArray{u"x"_s}));
    for (qsizetype size = 0; size < whole.size(); ++size) {
        SCOPED_TRACE(size);
        EXPECT_EQ(PropertyList::parse(whole.first(size)), std::nullopt);
    }
}
