// SPDX-License-Identifier: MIT
#pragma once

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

    /// Stores the code in a text in the shared suite, for the keyboard to offer: "otpCode", "otpPure",
    /// "otpSource" (`source`, where the text came from), "otpAt" (now, in seconds since 1970-01-01 00:00 UTC)
    /// and "otpUsed" (false), written in this order. Where the text holds none, nothing changes.
    ///
    /// The first write that fails is the last, lest an old code look new; why it failed is Shared::d()'s
    /// lastError().
    static void note(const QString &text, const QString &source);
};

} // namespace kavrin
