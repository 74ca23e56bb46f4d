// SPDX-License-Identifier: MIT
#include "platform/linux/audio/libav/Libav.h"

#include <array>

namespace kavrin::libav
{

void freeStream(AVIOContext **stream)
{
    av_freep(static_cast<void *>(&(*stream)->buffer));
    avio_context_free(stream);
}

void freeOutput(AVFormatContext **format)
{
    avformat_free_context(*format);
}

Stream makeStream(void *self, decltype(AVIOContext::read_packet) read,
                  decltype(AVIOContext::write_packet) write, decltype(AVIOContext::seek) seek)
{
    constexpr int bufferSize = 16 * 1024;
    auto *buffer = static_cast<unsigned char *>(av_malloc(bufferSize));
    return owned<Stream>(avio_alloc_context(buffer, bufferSize, write ? 1 : 0, self, read, write, seek));
}

QString describe(int error)
{
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(error, text.data(), text.size());
    return QString::fromUtf8(text.data());
}

} // namespace kavrin::libav
