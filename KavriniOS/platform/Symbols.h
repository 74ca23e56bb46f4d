// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QString>

/// The system's symbols: small pictures of one colour with fixed names ("gearshape",
/// "checkmark.circle.fill"). Safe from any thread.
namespace kavrin::Symbols
{

/// The symbol `name`, black on transparent, fitted into a square whose side is `size` pixels; a null image
/// where no symbol has that name.
QImage image(const QString &name, int size);

} // namespace kavrin::Symbols
