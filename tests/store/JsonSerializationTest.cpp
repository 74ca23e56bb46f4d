// SPDX-License-Identifier: MIT
#include "store/JsonSerialization.h"

#include <QJsonArray>

#include <gtest/gtest.h>

#include <limits>

using namespace kavrin;
using namespace Qt::StringLiterals;

TEST(JsonSerialization, WhatJsonHoldsGoesThereAndBack)
{
    const std::pair<PropertyListValue, QJsonValue> rows[] = {
        {true, true},
        {qint64(5), 5},
        {std::numeric_limits<qint64>::max(), std::numeric_limits<qint64>::max()},
        {0.5, 0.5},
        {u"ş"_s, u"ş"_s},
        {PropertyListArray{true, qint64(1)}, QJsonArray{true, 1}},
        {PropertyListDictionary{{u"k"_s, u"v"_s}}, QJsonObject{{u"k"_s, u"v"_s}}},
    };
    for (const auto &[value, json] : rows) {
        EXPECT_EQ(toJson(value), json);
        EXPECT_EQ(fromJson(json), value);
    }
}

TEST(JsonSerialization, DatesDataAndNumbersThatAreNotFiniteHaveNoJson)
{
    const PropertyListValue values[] = {
        Date{5},
        QByteArray("x"),
        std::numeric_limits<double>::quiet_NaN(),
        std::numeric_limits<double>::infinity(),
        PropertyListArray{Date{5}},
        PropertyListDictionary{{u"k"_s, QByteArray()}},
    };
    for (const PropertyListValue &value : values) {
        EXPECT_EQ(toJson(value), std::nullopt) << value.index();
    }
}

TEST(JsonSerialization, NullIsNoValue)
{
    EXPECT_EQ(fromJson(QJsonValue()), std::nullopt);
    EXPECT_EQ(fromJson(QJsonArray{QJsonValue()}), std::nullopt);
    EXPECT_EQ(fromJson(QJsonObject{{u"k"_s, QJsonValue()}}), std::nullopt);
}
