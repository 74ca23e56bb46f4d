// SPDX-License-Identifier: MIT
#include "support/Suite.h"

#include <gtest/gtest.h>

namespace kavrin::test
{

QString failureOf(const std::optional<Error> &failure)
{
    return failure ? failure->localizedDescription : QString();
}

void put(UserDefaults &suite, const QString &key, const PropertyListValue &value)
{
    EXPECT_EQ(failureOf(suite.set(key, value)), u"");
}

void drop(UserDefaults &suite, const QString &key)
{
    EXPECT_EQ(failureOf(suite.remove(key)), u"");
}

} // namespace kavrin::test
