// SPDX-License-Identifier: MIT
#include "platform/linux/audio/SoundProbe.h"

#include "platform/linux/Module.h"

namespace kavrin
{

using namespace Qt::StringLiterals;

SoundProbe &SoundProbe::load()
{
    void *entry = moduleEntry(modulePath(u"kavrin_pulse.so"_s), "kavrin_sound_probe",
                              {u"audio"_s, 6,
                               u"The sound server cannot be asked (%1). Check that Kavrin and libpulse are "
                               "installed whole."_s});
    return *reinterpret_cast<SoundProbeEntry *>(entry)();
}

} // namespace kavrin
