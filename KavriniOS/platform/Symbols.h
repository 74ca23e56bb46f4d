// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QString>

/// The system's symbols: small pictures of one colour with fixed names ("gearshape",
/// "checkmark.circle.fill"). Safe from any thread.
namespace kavrin::Symbols
{

/// The symbol `name`, black on transparent, fitted into a square of `size` by `size` pixels. A null image if
/// no symbol has that name.
QImage image(const QString &name, int size);

} // namespace kavrin::Symbols
