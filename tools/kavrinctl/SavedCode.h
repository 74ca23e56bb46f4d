// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kavrin::ctl
{

/// Runs the action that saves the verification code of a message. Returns in words for a person why the code
/// could not be stored; the empty string where it was, and where there is none.
QString saveCodeOf(const QString &message);

} // namespace kavrin::ctl
