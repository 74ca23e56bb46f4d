// SPDX-License-Identifier: MIT
#pragma once

namespace kavrin
{

/// From now on, this process and those that it starts ignore each variable of the XDG Base Directory
/// Specification, such as XDG_DATA_HOME, that has a relative path, as the specification demands. Qt obeys
/// such a path, which would be another folder for each program. Call it first, before there is a second
/// thread.
void ignoreRelativeBaseDirectories();

} // namespace kavrin
