// SPDX-License-Identifier: MIT
#include "platform/linux/audio/SoundCodecs.h"
#include "platform/linux/audio/libav/AacFileWriter.h"
#include "platform/linux/audio/libav/OrdinaryMpeg4.h"
#include "platform/linux/audio/libav/SoundDecoder.h"

extern "C" {
#include <libavutil/log.h>
}

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

class LibavCodecs final : public SoundCodecs
{
public:
    /// Otherwise libav prints to the standard error.
    LibavCodecs() { av_log_set_level(AV_LOG_QUIET); }

    [[nodiscard]] std::unique_ptr<SoundFileWriter> createAac(const QString &path, int sampleRate,
                                                             int channels) const override
    {
        return std::make_unique<AacFileWriter>(path, sampleRate, channels);
    }

    [[nodiscard]] Sound decode(const QByteArray &file) const override
    {
        Sound sound = decodeSound({file.constData(), std::size_t(file.size())});
        if (sound.samples.empty()) {
            throw Error(u"audio"_s, 1, u"There is no sound in the file."_s);
        }
        return sound;
    }

    void check(const QByteArray &file) const override
    {
        checkSound({file.constData(), std::size_t(file.size())});
    }

    [[nodiscard]] QByteArray ordinaryMpeg4(const QByteArray &file) const override
    {
        return kavrin::ordinaryMpeg4(file);
    }
};

} // namespace

} // namespace kavrin

extern "C" Q_DECL_EXPORT const kavrin::SoundCodecs *kavrin_sound_codecs()
{
    static const kavrin::LibavCodecs codecs;
    return &codecs;
}
