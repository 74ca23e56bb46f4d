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

/// Throws Refusal where something failed: `what` could not be done, and why.
void expectNoFailure(const std::optional<Error> &failure, const QString &what);

/// All of standard input. Throws Refusal where it is not UTF-8.
QString readStandardInput();

/// Takes a flag such as "--json" out of the arguments; whether it was there.
bool takeFlag(QStringList &arguments, const QString &flag);

/// Throws UsageError unless there are that many arguments.
void expectCount(const QStringList &arguments, qsizetype least, qsizetype most);

/// Throws UsageError where an argument looks like a flag: the verb has taken those that it knows.
void expectNoFlags(const QStringList &arguments);

/// A finite number in the C locale, with nothing before or after it.
std::optional<double> toNumber(const QString &text);

/// The number as people write it: 54, 0.85.
QString fromNumber(double number);

} // namespace kavrin::ctl
