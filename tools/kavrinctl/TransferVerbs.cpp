// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/Console.h"
#include "tools/kavrinctl/RunningKavrin.h"
#include "tools/kavrinctl/Setting.h"

#include "store/SettingsState.h"
#include "store/Shared.h"

#include <QDateTime>
#include <QFile>

#include <algorithm>

namespace kavrin::ctl
{

using namespace Qt::StringLiterals;

namespace
{

/// A file beside the suite that only the user may read.
QString keepBesideSuite(const QString &state)
{
    const QString stamp = QDateTime::currentDateTimeUtc().toString(u"yyyyMMdd'T'HHmmss.zzz'Z'"_s);
    const QByteArray line = state.toUtf8() + '\n';
    QFile file(Shared::d().path() + u".before-reset-"_s + stamp);
    const bool isKept = file.open(QIODevice::NewOnly, QFile::ReadOwner | QFile::WriteOwner)
        && file.write(line) == line.size() && file.flush();
    if (!isKept) {
        const QString reason = file.errorString();
        file.remove();
        throw Refusal{u"Nothing was reset, because the settings could not be kept in %1: %2."_s.arg(
            file.fileName(), reason)};
    }
    return file.fileName();
}

void resetThese(const QStringList &keys)
{
    expectNoFailure(Prefs::store(Prefs::resetChanges(keys)), u"The settings could not be reset"_s);
}

void resetAll()
{
    const QStringList keys = Prefs::resettableKeys();
    const auto [state, failure] = SettingsState::read(keys);
    expectNoFailure(failure, u"The settings could not be read, so nothing was reset"_s);
    const QString kept = keepBesideSuite(state);
    try {
        resetThese(keys);
    } catch (const Refusal &) {
        QFile::remove(kept);
        throw;
    }
    print(u"What the settings were is kept. To put it back: kavrinctl import < '%1'"_s.arg(kept));
}

} // namespace

void exportSettings(QStringList &arguments)
{
    expectNoFlags(arguments);
    expectArguments(arguments, {});
    expectReadableSettings();
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
    expectArguments(arguments, {}, 1);
    const QString source = arguments.value(0, u"-"_s);
    const QString text = source == u"-" ? readStandardInput() : source;
    tellOfComingImport();
    const auto [done, failure] = Prefs::importBlob(text);
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
    const bool isAll = takeFlag(arguments, u"--all"_s);
    expectNoFlags(arguments);
    if (isAll) {
        expectArguments(arguments, {});
        resetAll();
        return;
    }
    expectArguments(arguments, {u"KEY or --all"_s}, arguments.size());
    for (const QString &key : arguments) {
        findSetting(key);
    }
    resetThese(arguments);
}

} // namespace kavrin::ctl
