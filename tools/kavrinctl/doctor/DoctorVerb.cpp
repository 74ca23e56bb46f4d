// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/Console.h"
#include "tools/kavrinctl/doctor/Checks.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <array>
#include <vector>

namespace kavrin::ctl
{

namespace
{

using namespace Qt::StringLiterals;

struct Check {
    const char *name; ///< programs know it, too
    Finding (*find)();
};

constexpr std::array checks = {
    Check{"kavrin", checkKavrin},
    Check{"suite", checkSuite},
    Check{"port 49731", checkPort},
    Check{"sound server", checkSoundServer},
    Check{"microphone", checkMicrophone},
    Check{"speech service", checkSpeechService},
    Check{"typing", checkTyping},
    Check{"shortcut", checkShortcut},
    Check{"notifications", checkNotifications},
    Check{"tray", checkTray},
};

Finding find(const Check &check)
{
    try {
        return check.find();
    } catch (const Error &error) {
        return bad(error.localizedDescription, {});
    } catch (const Refusal &refusal) {
        return bad(refusal.message, {});
    }
}

QString nameOf(Finding::Result result)
{
    switch (result) {
    case Finding::Result::Good:
        return u"good"_s;
    case Finding::Result::Bad:
        return u"bad"_s;
    case Finding::Result::NotChecked:
        break;
    }
    return u"not checked"_s;
}

QString line(const Check &check, const Finding &finding)
{
    const QString sentences = finding.text + u' ' + finding.advice;
    return u"%1  %2: %3"_s.arg(nameOf(finding.result), -11)
        .arg(QLatin1String(check.name), sentences.trimmed());
}

QJsonObject json(const Check &check, const Finding &finding)
{
    return {
        {u"check"_s, QLatin1String(check.name)},
        {u"result"_s, nameOf(finding.result)},
        {u"finding"_s, finding.text},
        {u"advice"_s, finding.advice},
    };
}

} // namespace

void doctor(QStringList &arguments)
{
    const bool asJson = takeFlag(arguments, u"--json"_s);
    expectNoFlags(arguments);
    expectArguments(arguments, {});
    QJsonArray array;
    qsizetype badOnes = 0;
    for (const Check &check : checks) {
        const Finding finding = find(check);
        badOnes += finding.result == Finding::Result::Bad ? 1 : 0;
        if (asJson) {
            array.append(json(check, finding));
        } else {
            print(line(check, finding));
        }
    }
    if (asJson) {
        print(array);
    }
    if (badOnes > 0) {
        throw Refusal{badOnes == 1 ? u"One thing is bad."_s : u"%1 things are bad."_s.arg(badOnes)};
    }
}

} // namespace kavrin::ctl
