// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QString>

namespace kavrin
{

/// The desktop's dialogs, in which the user chooses a file. Main thread only.
class FileChooser
{
public:
    virtual ~FileChooser() = default;

    /// The path of a file to read. Empty if the user has chosen none. Throws Error if the desktop has no such
    /// dialog.
    virtual QCoro::Task<QString> fileToOpen(QString title) = 0;

    /// Likewise, the path of a file to write, which may exist. `name` is what it may be called.
    virtual QCoro::Task<QString> fileToSave(QString title, QString name) = 0;
};

} // namespace kavrin
