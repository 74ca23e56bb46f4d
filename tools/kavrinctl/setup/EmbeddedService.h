// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// kavrin-stt, the speech service of this machine.
namespace kavrin::ctl::EmbeddedService
{

/// Where its unit serves.
QString address();

/// Enables and starts its unit. Where that cannot be, starts the program that is beside this one; it runs
/// until the user logs out. Does nothing more if a program of the user serves the port already. Waits until
/// the port is served, and prints what was done. Throws Refusal if it is not served, or by another user.
void start();

} // namespace kavrin::ctl::EmbeddedService
