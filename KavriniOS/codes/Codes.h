// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UserDefaults.h"

#include <QString>

#include <optional>

namespace kavrin
{

/// One-time verification codes in messages. Both functions may be called from any thread, and neither throws.
struct Codes {
    struct Code {
        QString code; ///< 4 to 8 of the digits 0 to 9, without a separator
        bool pure; ///< whether the text was nothing but the code

        bool operator==(const Code &) const = default;
    };

    /// The code in a text, or none. White space around the text (Unicode's, and TAB to CR and NEL) does not
    /// count.
    ///
    /// If the text is a code and nothing else (4 to 8 digits, or two groups of three joined by a blank or a
    /// hyphen), that is the code. Any other text must contain a keyword ("code", "şifre", "pin" …) in its
    /// lower-case form, perhaps within a word and perhaps decomposed. Its code is the first two groups of
    /// three that touch no other digit, or else the first 4 to 8 digits that touch no other digit. A text of
    /// 500 or more user-perceived characters (Unicode's extended grapheme clusters) holds no code.
    ///
    /// Digits are those of ASCII. Half a surrogate pair counts as U+FFFD.
    static std::optional<Code> extract(const QString &text);

    /// The source of a code that came in a message that something handed over.
    inline static const QString messageSource = QStringLiteral("message");

    /// The changes that store the code in a text, so that the keyboard offers it: "otpCode", "otpPure",
    /// "otpSource" (`source`, where the text came from), "otpAt" (now, in seconds since 1970-01-01 00:00 UTC)
    /// and "otpUsed" (false), in this order. None if the text holds no code.
    static Changes changes(const QString &text, const QString &source);

    /// Stores changes() in the shared suite, all of them or none. If it could not, returns why.
    [[nodiscard]] static std::optional<Error> note(const QString &text, const QString &source);
};

} // namespace kavrin
