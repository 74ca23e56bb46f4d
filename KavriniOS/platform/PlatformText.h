// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kavrin
{

/// What a window shows in place of the text `described`: titles, footers and options of the catalogue, and
/// the sentences of the screens and of Recorder::message(). Some of these tell the ways of one platform, such
/// as the name of its settings; each platform has a table of what is true there. A text that has no row is
/// returned as it is.
///
/// Only people see the result. Nothing stores, sends, exports or compares it. Safe from any thread.
QString platformText(const QString &described);

} // namespace kavrin
