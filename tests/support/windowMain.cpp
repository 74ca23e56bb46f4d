// SPDX-License-Identifier: MIT
#include "support/LeakCheck.h"
#include "support/PrivateHome.h"

#include <QGuiApplication>

#include <gmock/gmock.h>

/// The main() of tests with windows, which need no display.
int main(int argc, char **argv)
{
    testing::InitGoogleMock(&argc, argv);
    const kavrin::test::PrivateHome home;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    int result = 0;
    {
        const QGuiApplication application(argc, argv);
        result = RUN_ALL_TESTS();
    }
    kavrin::test::checkForLeaks();
    return result;
}
