// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"
#include "platform/FileChooser.h"

#include <optional>

namespace kavrin::test
{

/// Stands for a user who chooses `path`, on a desktop that has dialogs unless there is a `failure`.
class FakeFileChooser : public FileChooser
{
public:
    QString path;
    std::optional<Error> failure;
    QString proposed; ///< what the file to write may be called

    QCoro::Task<QString> fileToOpen(QString /*title*/) override { co_return answer(); }

    QCoro::Task<QString> fileToSave(QString /*title*/, QString name) override
    {
        proposed = name;
        co_return answer();
    }

private:
    [[nodiscard]] QString answer() const
    {
        if (failure) {
            throw Error(*failure);
        }
        return path;
    }
};

} // namespace kavrin::test
