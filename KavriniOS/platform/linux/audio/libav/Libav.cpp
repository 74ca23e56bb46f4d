// SPDX-License-Identifier: MIT
#include "platform/linux/audio/libav/Libav.h"

#include <array>

namespace kavrin::libav
{

using namespace Qt::StringLiterals;

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

Input openInput(AVIOContext *stream, const char *containers)
{
    AVFormatContext *format = owned<Input>(avformat_alloc_context()).release();
    format->pb = stream;
    format->flags |= AVFMT_FLAG_CUSTOM_IO;
    format->format_whitelist = av_strdup(containers);
    // avformat_open_input() frees the context if it fails.
    return avformat_open_input(&format, nullptr, nullptr, nullptr) < 0 ? Input() : Input(format);
}

QString describe(int error)
{
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(error, text.data(), text.size());
    return QString::fromUtf8(text.data());
}

void require(int result)
{
    if (result < 0) {
        throw Error(u"audio"_s, result,
                    u"Sound cannot be encoded in this format (%1). Check that libavcodec and "
                    "libavformat are installed whole."_s.arg(describe(result)));
    }
}

} // namespace kavrin::libav
