// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/Console.h"

#include "tools/kavrinctl/HiddenLine.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLocale>
#include <QStringDecoder>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <unistd.h>

namespace kavrin::ctl
{

using namespace Qt::StringLiterals;

namespace
{

constexpr qint64 largestLine = 16'384; // no service has keys as long

void printBytes(const QByteArray &line)
{
    std::fwrite(line.constData(), 1, size_t(line.size()), stdout);
    std::fputc('\n', stdout);
    if (std::fflush(stdout) != 0) {
        throw Refusal{u"Standard output could not be written."_s};
    }
}

QString inputText(const QByteArray &bytes)
{
    QStringDecoder decode(QStringDecoder::Utf8);
    QString text = decode(bytes);
    if (decode.hasError()) {
        throw Refusal{u"Standard input is not UTF-8 text."_s};
    }
    return text;
}

} // namespace

void print(const QString &line)
{
    printBytes(line.toUtf8());
}

void print(const QJsonValue &value)
{
    // A JSON document is an array or an object. A single value is the text between the brackets of an array.
    const QByteArray array = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    printBytes(array.sliced(1, array.size() - 2));
}

void complain(const QString &message)
{
    std::fputs(u"kavrinctl: %1\n"_s.arg(message).toUtf8().constData(), stderr);
}

void expectNoFailure(const std::optional<Error> &failure, const QString &what)
{
    if (failure) {
        throw Refusal{what + u": "_s + failure->localizedDescription};
    }
}

QString readStandardInput(qint64 largest)
{
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly)) {
        throw Refusal{u"Standard input could not be read."_s};
    }
    QByteArray bytes;
    for (QByteArray piece = input.read(largest + 1); !piece.isEmpty(); piece = input.read(largest + 1)) {
        bytes += piece;
        if (bytes.size() > largest) {
            throw Refusal{u"Standard input has more than %1 bytes, the most that is taken."_s.arg(largest)};
        }
    }
    return inputText(bytes);
}

QString askForLine(const QString &prompt)
{
    QString line = isatty(STDIN_FILENO) == 1 ? inputText(readHiddenLine(prompt.toUtf8()))
                                             : readStandardInput(largestLine);
    if (line.endsWith(u'\n')) {
        line.chop(line.endsWith(u"\r\n") ? 2 : 1);
    }
    return line;
}

bool takeFlag(QStringList &arguments, const QString &flag)
{
    return arguments.removeAll(flag) > 0;
}

void expectArguments(const QStringList &arguments, const QStringList &names, qsizetype more)
{
    const QStringList missing = names.mid(arguments.size());
    if (!missing.isEmpty()) {
        throw UsageError{missing.join(u" and "_s)
                         + (missing.size() == 1 ? u" is missing."_s : u" are missing."_s)};
    }
    const qsizetype most = names.size() + more;
    if (arguments.size() > most) {
        throw UsageError{u"\"%1\" is one argument too many."_s.arg(arguments.at(most))};
    }
}

void expectNoFlags(const QStringList &arguments)
{
    for (const QString &argument : arguments) {
        if (argument.startsWith(u"--")) {
            throw UsageError{u"There is no option \"%1\" here."_s.arg(argument)};
        }
    }
}

std::optional<double> toNumber(const QString &text)
{
    const QByteArray characters = text.toLatin1();
    double number = 0;
    const auto [end, error] = std::from_chars(characters.begin(), characters.end(), number);
    const bool isWhole = error == std::errc() && end == characters.end();
    return isWhole && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

QString fromNumber(double number)
{
    return QString::number(number, 'g', QLocale::FloatingPointShortest);
}

} // namespace kavrin::ctl
