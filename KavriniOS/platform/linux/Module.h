// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QString>

namespace kavrin
{

/// A part of the program that is loaded when it is first needed, because the libraries that it needs would
/// slow down every start: `../lib/kavrin` of the executable's folder, beside a build as below an install
/// prefix, and there the file of this name ("kavrin_curl.so").
QString modulePath(const QString &name);

/// The address of the function `entry` of the module at the path `module`, which is loaded the first time and
/// never unloaded. Throws `failure`, with the reason in place of the %1 of its description, where the module
/// or a library that it needs is missing. Any thread.
void *moduleEntry(const QString &module, const char *entry, const Error &failure);

} // namespace kavrin
