// SPDX-License-Identifier: MIT
#include "support/PrivateHome.h"

#include <QCoreApplication>

#include <gmock/gmock.h>

int main(int argc, char **argv)
{
    testing::InitGoogleMock(&argc, argv);
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    const kavrin::test::PrivateHome home;
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
