// SPDX-License-Identifier: MIT
#pragma once

#include "tools/kavrinctl/Verb.h"

#include "platform/Error.h"

#include <QJsonValue>

#include <optional>

namespace kavrin::ctl
{

/// Prints a line to standard output.
void print(const QString &line);
void print(const QJsonValue &value);

/// Prints a line about what a person may have to mend to the standard error output.
void complain(const QString &message);

/// Throws Refusal if there is a failure: `what` could not be done, and why.
void expectNoFailure(const std::optional<Error> &failure, const QString &what);

/// All of standard input. Throws Refusal if it is not UTF-8, or has more than `largest` bytes.
QString readStandardInput(qint64 largest = 16'000'000);

/// All of standard input, without the end of its last line. If it is a terminal, asks for one line, and does
/// not show what is typed. Throws Refusal if it is not UTF-8, or has more than 16,384 bytes.
QString askForLine(const QString &prompt);

/// Removes a flag such as "--json" from the arguments. Whether it was there.
bool takeFlag(QStringList &arguments, const QString &flag);

/// Throws UsageError unless there is an argument for each of `names`, and at most `more` others. The error
/// names those that are missing.
void expectArguments(const QStringList &arguments, const QStringList &names, qsizetype more = 0);

/// Throws UsageError if an argument looks like a flag. The verb must have taken its own flags before.
void expectNoFlags(const QStringList &arguments);

/// A finite number in the C locale, with nothing before or after it; otherwise none.
std::optional<double> toNumber(const QString &text);

/// The number as people write it: 54, 0.85.
QString fromNumber(double number);

} // namespace kavrin::ctl
