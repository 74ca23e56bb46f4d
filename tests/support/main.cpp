// SPDX-License-Identifier: MIT
#include "support/LeakCheck.h"
#include "support/PrivateHome.h"

#include <QCoreApplication>

#include <gmock/gmock.h>

int main(int argc, char **argv)
{
    testing::InitGoogleMock(&argc, argv);
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    const kavrin::test::PrivateHome home;
    int result = 0;
    {
        const QCoreApplication application(argc, argv);
        result = RUN_ALL_TESTS();
    }
    kavrin::test::checkForLeaks();
    return result;
}
