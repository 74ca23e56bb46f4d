// SPDX-License-Identifier: MIT
#include "platform/linux/audio/SoundCodecs.h"

#include "platform/linux/Module.h"

namespace kavrin
{

using namespace Qt::StringLiterals;

const SoundCodecs &SoundCodecs::load()
{
    static const SoundCodecs *const codecs = &loadFrom(modulePath(u"kavrin_libav.so"_s));
    return *codecs;
}

const SoundCodecs &SoundCodecs::loadFrom(const QString &module)
{
    void *entry = moduleEntry(module, "kavrin_sound_codecs",
                              {u"audio"_s, 4,
                               u"Sound can be neither recorded nor played (%1). Check that Kavrin, "
                               "libavcodec and libavformat are installed whole."_s});
    return *reinterpret_cast<SoundCodecsEntry *>(entry)();
}

} // namespace kavrin
