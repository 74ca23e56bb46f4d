// SPDX-License-Identifier: MIT
#pragma once

#include "dictation/Recorder.h"

namespace kavrin
{

/// Why nothing is heard, with what to do, as a sentence for the user. Empty if something is heard.
inline QString silenceText(Recorder::Hearing hearing)
{
    switch (hearing) {
    case Recorder::Hearing::Sound:
        return {};
    case Recorder::Hearing::Nothing:
        return QStringLiteral("Kavrin hears nothing. Speak louder, or choose another microphone in the "
                              "sound settings of your desktop.");
    case Recorder::Hearing::Muted:
        return QStringLiteral("The microphone is muted. Turn it on in the sound settings of your desktop.");
    }
    return {};
}

} // namespace kavrin
