// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QString>

namespace kavrin
{

/// The path of a module: a part of the program that is loaded when it is first needed, because the libraries
/// behind it would slow down every start. The path is `../lib/kavrin` of the executable's folder, in a build
/// and below an install prefix alike, and there the file `name` ("kavrin_curl.so").
QString modulePath(const QString &name);

/// The address of the function `entry` in the module at the path `module`. The first call loads the module,
/// and nothing unloads it. If the module or a library that it needs is missing, throws `failure` with the
/// reason in place of the %1 in its description. Safe from any thread.
void *moduleEntry(const QString &module, const char *entry, const Error &failure);

} // namespace kavrin
