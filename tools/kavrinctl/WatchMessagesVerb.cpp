// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/Console.h"

#include "codes/Codes.h"
#include "platform/linux/desktop/TerminationSignals.h"
#include "platform/linux/messages/ModemManagerMessages.h"

#include <QCoreApplication>

namespace kavrin::ctl
{

namespace
{

using namespace Qt::StringLiterals;

QString takeWord(QStringList &arguments)
{
    const qsizetype flag = arguments.indexOf(u"--containing"_s);
    if (flag < 0) {
        return {};
    }
    const QString word = arguments.value(flag + 1);
    if (word.isEmpty()) {
        throw UsageError{u"--containing takes a word."_s};
    }
    arguments.remove(flag, 2);
    return word;
}

void saveOrComplain(const QString &text)
{
    if (const std::optional<Error> failure = Codes::note(text, Codes::messageSource)) {
        complain(u"The code in a message could not be stored: "_s + failure->localizedDescription);
    }
}

/// Throws Refusal when no message can come any more.
void watch(IncomingMessages &messages, const QString &word)
{
    const TerminationSignals termination;
    QObject::connect(&termination, &TerminationSignals::requested, qApp, &QCoreApplication::quit);
    QObject::connect(&messages, &IncomingMessages::received, qApp, [&](const QString &text) {
        if (text.contains(word, Qt::CaseInsensitive)) {
            saveOrComplain(text);
        }
    });
    QObject::connect(&messages, &IncomingMessages::unreadable, qApp, [](const QString &reason) {
        complain(u"A message has come, but it could not be read: "_s + reason);
    });
    QString end;
    QObject::connect(&messages, &IncomingMessages::ended, qApp, [&](const QString &reason) {
        end = reason;
        QCoreApplication::quit();
    });
    messages.start();
    print(u"Waiting for messages."_s);
    QCoreApplication::exec();
    if (!end.isEmpty()) {
        throw Refusal{end};
    }
}

} // namespace

void watchMessages(QStringList &arguments)
{
    const QString word = takeWord(arguments);
    expectNoFlags(arguments);
    expectArguments(arguments, {});
    ModemManagerMessages messages;
    watch(messages, word);
}

} // namespace kavrin::ctl
