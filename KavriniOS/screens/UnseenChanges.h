// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QFuture>
#include <QHash>
#include <QString>

#include <optional>

namespace kavrin
{

/// What became of a change that was submitted.
using Written = QFuture<std::optional<Error>>;

/// By key, the last change of which no page has shown the outcome: the page may be closed before it is known.
/// The next page with that key shows it. Main thread only.
QHash<QString, Written> &unseenChanges();

} // namespace kavrin
