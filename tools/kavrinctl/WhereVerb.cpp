// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/Console.h"

#include "dictation/Recorder.h"
#include "store/Shared.h"

#include <QJsonObject>

namespace kavrin::ctl
{

using namespace Qt::StringLiterals;

void where(QStringList &arguments)
{
    const bool asJson = takeFlag(arguments, u"--json"_s);
    expectNoFlags(arguments);
    expectArguments(arguments, {});

    const std::optional<QString> group = Shared::group();
    const QString suite = Shared::d().path();
    const QString recording = Recorder::url();
    if (asJson) {
        print(QJsonObject{
            {u"group"_s, group ? QJsonValue(*group) : QJsonValue()},
            {u"shared"_s, Shared::isShared()},
            {u"suite"_s, suite},
            {u"recording"_s, recording},
        });
        return;
    }
    print(u"group      %1"_s.arg(group.value_or(u"none"_s)));
    print(Shared::isShared() ? u"suite      %1"_s.arg(suite)
                             : u"suite      %1 (private: the keyboard does not see it)"_s.arg(suite));
    print(u"recording  %1"_s.arg(recording));
}

} // namespace kavrin::ctl
