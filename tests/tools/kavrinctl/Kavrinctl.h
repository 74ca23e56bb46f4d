// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonDocument>
#include <QString>
#include <QStringList>

namespace kavrin::test
{

/// What a run of kavrinctl came to.
struct Outcome {
    int exitCode = -1;
    QString output;
    QString errors;
};

/// Runs the real program in this process's private home.
Outcome kavrinctl(const QStringList &arguments, const QByteArray &standardInput = {});

/// What it prints, as JSON.
QJsonDocument kavrinctlJson(const QStringList &arguments);

} // namespace kavrin::test
