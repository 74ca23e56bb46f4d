// SPDX-License-Identifier: MIT
#pragma once

#include <QCoreApplication>
#include <QObject>
#include <QSaveFile>

namespace kavrin::test
{

/// The file that is this program's argument.
class KeptText : public QObject
{
    Q_OBJECT

public:
    Q_INVOKABLE static void keep(const QString &text)
    {
        QSaveFile file(QCoreApplication::arguments().at(1));
        if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0 || !file.commit()) {
            qFatal("%s", qPrintable(file.errorString()));
        }
    }
};

} // namespace kavrin::test
