// SPDX-License-Identifier: MIT
#pragma once

#include "codes/Codes.h"

#include <ostream>

namespace kavrin
{

inline void PrintTo(const Codes::Code &code, std::ostream *stream)
{
    *stream << code.code.toStdString() << (code.pure ? " (pure)" : "");
}

} // namespace kavrin

namespace kavrin::test
{

/// What Codes::extract() finds in a text of fewer than 500 UTF-16 code units, found the plain way: character
/// by character, without regular expressions, in the lower-case form of the whole text.
std::optional<Codes::Code> naiveExtract(const QString &text);

} // namespace kavrin::test
