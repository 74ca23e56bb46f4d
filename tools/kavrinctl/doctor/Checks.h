// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// What kavrinctl doctor looks at. A check may also throw Error or Refusal, which counts as bad.
namespace kavrin::ctl
{

struct Finding {
    enum class Result { Good, Bad, NotChecked };

    Result result;
    QString text; ///< what was found, as whole sentences
    QString advice; ///< what to do, as whole sentences; empty if nothing
};

inline Finding good(const QString &text)
{
    return {Finding::Result::Good, text, {}};
}

inline Finding bad(const QString &text, const QString &advice)
{
    return {Finding::Result::Bad, text, advice};
}

inline Finding notChecked(const QString &text, const QString &advice = {})
{
    return {Finding::Result::NotChecked, text, advice};
}

Finding checkKavrin();
Finding checkSuite();
Finding checkPort();
Finding checkSoundServer();
Finding checkMicrophone(); ///< says on the standard error output that it listens
Finding checkSpeechService();
Finding checkTyping();
Finding checkShortcut();
Finding checkNotifications();
Finding checkTray();

} // namespace kavrin::ctl
