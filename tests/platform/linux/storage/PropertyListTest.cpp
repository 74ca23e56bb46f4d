// SPDX-License-Identifier: MIT
#include "platform/PropertyList.h"

#include <gtest/gtest.h>

using namespace kavrin;
using namespace Qt::StringLiterals;

namespace
{

QByteArray xml(const QByteArray &body)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + body + "</plist>";
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
        {"<date>2026-11-21T09:30:00Z</date>", Date{1795253400}},
        {"<data>AP8B</data>", QByteArray("\0\xff\x01", 3)},
        {"<array><string>a</string><integer>1</integer></array>", PropertyListArray{u"a"_s, qint64(1)}},
        {"<dict><key>k</key><array/></dict>", PropertyListDictionary{{u"k"_s, PropertyListArray{}}}},
    };
    for (const auto &[body, expected] : rows) {
        SCOPED_TRACE(body.toStdString());
        EXPECT_EQ(PropertyList::parse(xml(body)), expected);
    }
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

TEST(PropertyList, WhatIsNoPropertyListHasNoValue)
{
    for (const QByteArray &data :
         {QByteArray(), QByteArray("hello"), QByteArray("bplist00"), QByteArray("<?xml"),
          QByteArray("<?xml version=\"1.0\"?><plist><dict>"), QByteArray(64, '\xff')}) {
        SCOPED_TRACE(data.toStdString());
        EXPECT_EQ(PropertyList::parse(data), std::nullopt);
    }
}
