// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QCoroTask>
#include <QString>

#include <optional>

namespace kavrin
{

/// Why no text can be put on a selection; it asks no display.
std::optional<Error> obstacleToSelecting();

/// Puts a text on the clipboard and on the primary selection, by the program of selectionCommand(): terminals
/// paste the latter. Throws Error, with words for a person. Main thread only.
QCoro::Task<> selectText(QString text);

} // namespace kavrin
