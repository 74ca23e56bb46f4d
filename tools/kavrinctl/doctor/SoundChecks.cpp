// SPDX-License-Identifier: MIT
#include "platform/linux/audio/SoundProbe.h"
#include "tools/kavrinctl/Console.h"
#include "tools/kavrinctl/doctor/Checks.h"

#include <cmath>

namespace kavrin::ctl
{

namespace
{

using namespace Qt::StringLiterals;

/// Below this even a quiet room is louder: in decibels relative to full scale, the noise of 16 bits.
constexpr float silence = -90;

const QString otherMicrophone = u"Unmute it, or choose another one in the desktop's sound settings."_s;

Finding listen(SoundProbe &probe, const QString &name)
{
    complain(u"Say something: the microphone is open for a second. Nothing of it is kept or sent."_s);
    const std::optional<float> level = probe.level();
    if (!level || *level < silence) {
        return bad(u"%1 hears nothing at all."_s.arg(name), otherMicrophone);
    }
    return good(u"%1 hears sound of %2 dB; 0 is the loudest."_s.arg(name).arg(std::lround(*level)));
}

} // namespace

Finding checkSoundServer()
{
    return good(u"%1 answers."_s.arg(SoundProbe::load().server()));
}

Finding checkMicrophone()
{
    SoundProbe &probe = SoundProbe::load();
    std::optional<SoundProbe::Microphone> microphone;
    try {
        microphone = probe.microphone();
    } catch (const Error &) {
        return notChecked(u"The sound server was not reached."_s);
    }
    if (!microphone) {
        return bad(u"There is no microphone."_s,
                   u"Plug one in, or choose one in the desktop's sound settings."_s);
    }
    return microphone->isMuted ? bad(u"%1 is muted."_s.arg(microphone->name), otherMicrophone)
                               : listen(probe, microphone->name);
}

} // namespace kavrin::ctl
