// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kavrin
{

/// "dictationError" in the shared suite: why the last dictation failed, for the keyboard. It is one string of
/// JSON; docs/shared-suite.md describes it. The functions take effect after everything that SuiteWriter was
/// given before. A failure to store is not reported. Main thread only.
class DictationError
{
public:
    /// `code` is one word for programs, `message` a line for people, and `time` in seconds since 1970-01-01
    /// 00:00 UTC.
    static void publish(const QString &code, const QString &message, double time);

    /// Removes the key, when a dictation begins.
    static void clear();

    /// Does the last of these again if the suite did not accept it, because it was full or locked.
    static void republishIfFailed();
};

} // namespace kavrin
