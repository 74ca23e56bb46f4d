// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/Console.h"
#include "tools/kavrinctl/Verb.h"

#include "codes/Codes.h"

#include <QFile>
#include <QJsonObject>
#include <QStringDecoder>

namespace kavrin::ctl
{

namespace
{

using namespace Qt::StringLiterals;

const QString noCode = u"There is no verification code in the message."_s;

/// The message in the arguments. An error about them must not show them: they may hold a code.
QString readMessage(const QStringList &arguments)
{
    if (arguments.size() > 1) {
        throw UsageError{
            u"A message is one argument: put it in quotes, or hand it over on standard input."_s};
    }
    const QString source = arguments.value(0, u"-"_s);
    if (source.startsWith(u"--")) {
        throw UsageError{
            u"There is no such option here. A message that begins with \"--\" goes to standard input."_s};
    }
    return source == u"-" ? readStandardInput() : source;
}

QJsonValue toJson(const std::optional<Codes::Code> &found)
{
    return found ? QJsonValue(QJsonObject{{u"code"_s, found->code}, {u"pure"_s, found->pure}}) : QJsonValue();
}

/// Answers each line of standard input as soon as it comes, so that another program can talk with this one.
void extractFromLines()
{
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly)) {
        throw Refusal{u"Standard input could not be read."_s};
    }
    for (qint64 number = 1;; ++number) {
        const QByteArray line = input.readLine();
        if (line.isEmpty()) {
            return;
        }
        QStringDecoder decode(QStringDecoder::Utf8);
        const QString message = decode(line);
        if (decode.hasError()) {
            throw Refusal{u"Line %1 of standard input is not UTF-8 text."_s.arg(number)};
        }
        print(toJson(Codes::extract(message)));
    }
}

} // namespace

void extractCode(QStringList &arguments)
{
    if (takeFlag(arguments, u"--lines"_s)) {
        if (!arguments.isEmpty()) {
            throw UsageError{u"--lines reads standard input and takes no message."_s};
        }
        extractFromLines();
        return;
    }
    const std::optional<Codes::Code> found = Codes::extract(readMessage(arguments));
    if (!found) {
        throw Refusal{noCode};
    }
    print(toJson(found));
}

void saveCode(QStringList &arguments)
{
    const QString message = readMessage(arguments);
    const std::optional<Codes::Code> found = Codes::extract(message);
    if (!found) {
        print(noCode);
        return;
    }
    expectNoFailure(Codes::note(message, Codes::messageSource), u"The code could not be stored"_s);
    print(u"Stored for the keyboard: %1"_s.arg(found->code));
}

} // namespace kavrin::ctl
