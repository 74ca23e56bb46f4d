// SPDX-License-Identifier: MIT
#pragma once

#include <QQuickWindow>
#include <QStringList>

namespace kavrin::test
{

/// What a person sees of the texts and symbols within an item, in the order in which the items stand: a text
/// as it reads, a symbol as its name in brackets. Only what leaves pixels in the window counts; what is
/// scrolled out of sight does not.
QStringList painted(QQuickWindow &window, QQuickItem *within);

} // namespace kavrin::test
