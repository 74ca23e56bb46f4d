// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

/// The commands of kavrinctl: a table of verbs, each of which is a function of its arguments.
namespace kavrin::ctl
{

enum ExitCode {
    Done = 0,
    Refused = 1, ///< refused or failed, or there is no such value
    WrongUsage = 2,
};

/// A verb throws this if its arguments make no sense. kavrinctl shows the message and the verb's usage.
struct UsageError {
    QString message;
};

/// A verb throws this if it cannot do what it was asked. kavrinctl shows the message.
struct Refusal {
    QString message;
};

struct Verb {
    const char *name;
    const char *usage; ///< its arguments, one form a line
    const char *summary;
    const char *help; ///< more about it; may be empty
    void (*run)(QStringList &arguments);
};

void where(QStringList &arguments);
void catalogue(QStringList &arguments);
void get(QStringList &arguments);
void set(QStringList &arguments);
void defaults(QStringList &arguments);
void tools(QStringList &arguments);
void exportSettings(QStringList &arguments);
void importSettings(QStringList &arguments);
void reset(QStringList &arguments);
void extractCode(QStringList &arguments);
void saveCode(QStringList &arguments);
void transcribe(QStringList &arguments);
void dictate(QStringList &arguments);
void type(QStringList &arguments);
void watchMessages(QStringList &arguments);
void doctor(QStringList &arguments);
void setup(QStringList &arguments);

} // namespace kavrin::ctl
