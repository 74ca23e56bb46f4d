// SPDX-License-Identifier: MIT
// A process of an application: "claim NAME" prints "first", "taken" or "no bus" and stays while it is the
// first, "hand-over [URL...]" is a later launch, which fails where nobody takes it.

#include "platform/linux/desktop/ApplicationBus.h"

#include <QCoreApplication>

#include <cstdio>

namespace
{

using kavrin::ApplicationBus;

void print(const char *text)
{
    std::puts(text);
    std::fflush(stdout);
}

int claim(const QString &name)
{
    ApplicationBus bus(name);
    switch (bus.claim()) {
    case ApplicationBus::Claim::First:
        print("first");
        return QCoreApplication::exec();
    case ApplicationBus::Claim::Taken:
        print("taken");
        break;
    case ApplicationBus::Claim::NoBus:
        print("no bus");
        break;
    }
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == u"claim") {
        return claim(arguments.value(2));
    }
    return ApplicationBus::handOver(arguments.sliced(2)).isEmpty() ? 0 : 1;
}
