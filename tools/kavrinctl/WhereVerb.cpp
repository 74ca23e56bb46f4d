// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/Console.h"

#include "dictation/Recorder.h"
#include "store/Shared.h"

#include <QJsonObject>

namespace kavrin::ctl
{

void where(QStringList &arguments)
{
    const bool asJson = takeFlag(arguments, QStringLiteral("--json"));
    expectNoFlags(arguments);
    expectCount(arguments, 0, 0);

    const std::optional<QString> group = Shared::group();
    const QString suite = Shared::d().path();
    const QString recording = Recorder::url();
    if (asJson) {
        print(QJsonObject{
            {QStringLiteral("group"), group ? QJsonValue(*group) : QJsonValue()},
            {QStringLiteral("shared"), Shared::isShared()},
            {QStringLiteral("suite"), suite},
            {QStringLiteral("recording"), recording},
        });
        return;
    }
    print(QStringLiteral("group      %1").arg(group.value_or(QStringLiteral("none"))));
    print(Shared::isShared()
              ? QStringLiteral("suite      %1").arg(suite)
              : QStringLiteral("suite      %1 (private: the keyboard does not see it)").arg(suite));
    print(QStringLiteral("recording  %1").arg(recording));
}

} // namespace kavrin::ctl
