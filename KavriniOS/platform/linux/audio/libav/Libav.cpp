// SPDX-License-Identifier: MIT
#include "platform/linux/audio/libav/Libav.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
}

#include <array>

namespace kavrin::libav
{

void Release::operator()(AVCodecContext *codec) const
{
    avcodec_free_context(&codec);
}

void Release::operator()(AVFrame *frame) const
{
    av_frame_free(&frame);
}

void Release::operator()(AVIOContext *stream) const
{
    av_freep(static_cast<void *>(&stream->buffer));
    avio_context_free(&stream);
}

void Release::operator()(AVPacket *packet) const
{
    av_packet_free(&packet);
}

void Release::operator()(SwrContext *converter) const
{
    swr_free(&converter);
}

void CloseInput::operator()(AVFormatContext *format) const
{
    avformat_close_input(&format);
}

void CloseOutput::operator()(AVFormatContext *format) const
{
    avformat_free_context(format);
}

QString describe(int error)
{
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(error, text.data(), text.size());
    return QString::fromUtf8(text.data());
}

} // namespace kavrin::libav
