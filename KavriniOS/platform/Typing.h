// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QCoroTask>
#include <QObject>

#include <functional>
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

    /// Throws Error if a text may not be typed now.
    using Check = std::function<QCoro::Task<>()>;
    static QCoro::Task<> unchecked() { co_return; }

    /// Puts the text where the cursor is, character for character. A text that holds a control character,
    /// such as a line break, is refused. The desktop's question or a key that is held may delay it; so
    /// `check` is called immediately before the first key is pressed. Resumes when everything was sent, or
    /// returns why it was not; a part of the text may have arrived then. One call at a time.
    virtual QCoro::Task<std::optional<Error>> type(QString text, Check check = unchecked) = 0;
};

} // namespace kavrin
