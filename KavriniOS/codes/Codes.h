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

    /// The code in a text, or none. White space round the text (Unicode's, and TAB to CR and NEL) does not
    /// count.
    ///
    /// A text that is a code, 4 to 8 digits or two groups of three joined by a blank or a hyphen, needs no
    /// more. Any other text holds one only where its lower-case form contains a keyword ("code", "şifre",
    /// "pin" …), also within a word: the first two groups of three, else the first 4 to 8 digits, that touch
    /// no other digit. A text of 500 or more user-perceived characters (Unicode's extended grapheme clusters)
    /// holds none.
    ///
    /// Digits are those of ASCII. Half a surrogate pair is read as U+FFFD.
    static std::optional<Code> extract(const QString &text);

    /// Where a code comes from that stood in a message handed over.
    inline static const QString messageSource = QStringLiteral("message");

    /// What stores the code in a text for the keyboard to offer: "otpCode", "otpPure", "otpSource" (`source`,
    /// where the text came from), "otpAt" (now, in seconds since 1970-01-01 00:00 UTC) and "otpUsed" (false),
    /// in this order. Nothing where the text holds none.
    static Changes changes(const QString &text, const QString &source);

    /// Stores changes() in the shared suite, all of them or none. Returns why it could not.
    [[nodiscard]] static std::optional<Error> note(const QString &text, const QString &source);
};

} // namespace kavrin
