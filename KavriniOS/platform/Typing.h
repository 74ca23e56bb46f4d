// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QCoroTask>
#include <QObject>

#include <optional>

namespace kavrin
{

/// A way of typing into whatever window has the focus. Main thread only.
class Typing : public QObject
{
    Q_OBJECT

public:
    /// A short name for a person: "Wayland virtual keyboard".
    [[nodiscard]] virtual QString name() const = 0;

    /// Puts the text where the cursor is, character for character. A text that holds a control character,
    /// such as a line break, is refused. Resumes when everything was sent, or returns why it was not; a part
    /// of the text may have arrived then. One call at a time.
    virtual QCoro::Task<std::optional<Error>> type(QString text) = 0;
};

} // namespace kavrin
