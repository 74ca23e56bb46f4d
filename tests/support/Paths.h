// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kavrin::test
{

/// The path of a file of this checkout: sourcePath("LICENSE"); of the checkout itself for "".
QString sourcePath(const char *name);

/// The path of one of the built programs that people run: programPath("kavrinctl").
QString programPath(const char *name);

/// The path of a program that was built for the tests alone.
QString helperPath(const char *name);

} // namespace kavrin::test
