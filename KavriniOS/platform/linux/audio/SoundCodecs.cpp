// SPDX-License-Identifier: MIT
#include "platform/linux/audio/SoundCodecs.h"

#include "platform/linux/Module.h"

namespace kavrin
{

const SoundCodecs &SoundCodecs::load()
{
    static const SoundCodecs *const codecs = &loadFrom(modulePath(QStringLiteral("kavrin_libav.so")));
    return *codecs;
}

const SoundCodecs &SoundCodecs::loadFrom(const QString &module)
{
    void *entry =
        moduleEntry(module, "kavrin_sound_codecs",
                    {QStringLiteral("audio"), 4,
                     QStringLiteral("Sound can be neither recorded nor played (%1). Check that Kavrin, "
                                    "libavcodec and libavformat are installed whole.")});
    return *reinterpret_cast<SoundCodecsEntry *>(entry)();
}

} // namespace kavrin
