// SPDX-License-Identifier: MIT
#pragma once

namespace kavrin
{

/// From now on, this process and those that it starts ignore HOME and each variable of XDG's base
/// directories, such as XDG_DATA_HOME, that has a relative path, as XDG wants it. Qt obeys such a path, which
/// would be another folder for each program. The home is then the one that the system has for the user. Call
/// it first, before there is a second thread.
void ignoreRelativeBaseDirectories();

} // namespace kavrin
