// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

namespace kavrin::ctl
{

/// Asks for a line on the terminal that is the standard input, and does not show what is typed. Returns the
/// line with its end; nothing at the end of the input. A signal that ends or stops the process does so once
/// the terminal shows again what is typed.
QByteArray readHiddenLine(const QByteArray &prompt);

} // namespace kavrin::ctl
