// SPDX-License-Identifier: MIT
#pragma once

#include "support/OtherProgram.h"

namespace kavrin::test
{

/// Keeps every other connection from writing to the shared suite, as another program does that is about to
/// write, until unlock().
class LockedSuite
{
public:
    LockedSuite() { m_program.execute("BEGIN IMMEDIATE"); }

    void unlock() { m_program.execute("ROLLBACK"); }

private:
    OtherProgram m_program;
};

} // namespace kavrin::test
