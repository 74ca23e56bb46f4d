// SPDX-License-Identifier: MIT
// A process of an application: "claim NAME" prints "first", "taken" or "no bus" and stays while it is the
// first, "hand-over [URL...]" is a later launch, which fails where nobody takes it. "lock PATH" prints
// "locked", and "lock PATH CHILD" then the process number of a child that outlives it; "old-lock PATH" locks
// as version 0.1.0 did. Both stay.

#include "platform/linux/desktop/ApplicationBus.h"
#include "platform/linux/desktop/InstanceLock.h"

#include <QCoreApplication>
#include <QLockFile>
#include <QProcess>

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

int hold(const QString &path, const QString &child)
{
    kavrin::InstanceLock lock(path);
    if (!lock.take(std::chrono::seconds(0))) {
        return 1;
    }
    print("locked");
    qint64 id = 0;
    if (!child.isEmpty() && QProcess::startDetached(child, {QStringLiteral("600")}, {}, &id)) {
        print(QByteArray::number(id).constData());
    }
    return QCoreApplication::exec();
}

int holdAsBefore(const QString &path)
{
    QLockFile lock(path);
    lock.setStaleLockTime(0);
    if (!lock.tryLock(0)) {
        return 1;
    }
    print("locked");
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == u"claim") {
        return claim(arguments.value(2));
    }
    if (arguments.value(1) == u"lock") {
        return hold(arguments.value(2), arguments.value(3));
    }
    if (arguments.value(1) == u"old-lock") {
        return holdAsBefore(arguments.value(2));
    }
    return ApplicationBus::handOver(arguments.sliced(2)).isEmpty() ? 0 : 1;
}
