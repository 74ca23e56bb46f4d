// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kavrin
{

/// The clipboard that all applications share. Main thread only.
class Pasteboard
{
public:
    virtual ~Pasteboard() = default;

    /// Replaces the contents by `text`. Returns at once; a failure is not reported.
    virtual void setString(const QString &text) = 0;
};

} // namespace kavrin
