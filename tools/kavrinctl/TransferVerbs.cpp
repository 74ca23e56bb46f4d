// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/Console.h"
#include "tools/kavrinctl/Setting.h"

#include "store/Shared.h"

#include <algorithm>

namespace kavrin::ctl
{

using namespace Qt::StringLiterals;

void exportSettings(QStringList &arguments)
{
    expectNoFlags(arguments);
    expectCount(arguments, 0, 0);
    expectNoFailure(Shared::d().dictionaryRepresentation().failure, u"The settings could not be read"_s);
    const QString blob = Prefs::exportBlob();
    if (blob.isEmpty()) {
        throw Refusal{
            u"The settings cannot be written as text: a date or data is stored under the key of one. "
            "\"kavrinctl defaults read --types\" shows which; set it anew or reset it."_s};
    }
    print(blob);
}

void importSettings(QStringList &arguments)
{
    expectNoFlags(arguments);
    expectCount(arguments, 0, 1);
    const QString source = arguments.value(0, u"-"_s);
    const auto [done, failure] = Prefs::importBlob(source == u"-" ? readStandardInput() : source);
    if (failure) {
        throw Refusal{failure->localizedDescription};
    }
    print(done.count == 1 ? u"1 setting imported."_s : u"%1 settings imported."_s.arg(done.count));
    std::ranges::for_each(done.remarks, complain);
    if (!done.misfits.isEmpty()) {
        throw Refusal{u"What does not fit was left as it was: "_s + done.misfits.join(u' ')};
    }
}

void reset(QStringList &arguments)
{
    expectNoFlags(arguments);
    for (const QString &key : arguments) {
        findSetting(key);
    }
    const QStringList keys = arguments.isEmpty() ? Prefs::resettableKeys() : arguments;
    expectNoFailure(Prefs::store(Prefs::resetChanges(keys)), u"The settings could not be reset"_s);
}

} // namespace kavrin::ctl
