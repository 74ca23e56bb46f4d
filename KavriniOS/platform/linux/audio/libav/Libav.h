// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QString>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
}

#include <memory>
#include <new>

/// What the decoder and the writers of sound files share: owners of libav's objects, opening of files, and
/// texts for errors.
namespace kavrin::libav
{

void freeStream(AVIOContext **stream); ///< with its buffer
void freeOutput(AVFormatContext **format);

/// Frees an object with the function for its type, which takes the address of the pointer.
template <auto release> struct Release {
    void operator()(auto *object) const { release(&object); }
};

using Codec = std::unique_ptr<AVCodecContext, Release<avcodec_free_context>>;
using Frame = std::unique_ptr<AVFrame, Release<av_frame_free>>;
using Stream = std::unique_ptr<AVIOContext, Release<freeStream>>;
using Packet = std::unique_ptr<AVPacket, Release<av_packet_free>>;
using Converter = std::unique_ptr<SwrContext, Release<swr_free>>;
using Input = std::unique_ptr<AVFormatContext, Release<avformat_close_input>>;
using Output = std::unique_ptr<AVFormatContext, Release<freeOutput>>;

/// Takes over an object that libav has allocated. Throws std::bad_alloc if there is none.
template <typename Owner> Owner owned(typename Owner::pointer object)
{
    if (!object) {
        throw std::bad_alloc();
    }
    return Owner(object);
}

/// A file that its owner implements. Each call hands over `self`.
Stream makeStream(void *self, decltype(AVIOContext::read_packet) read,
                  decltype(AVIOContext::write_packet) write, decltype(AVIOContext::seek) seek);

/// Opens a sound file in one of the containers that the list names, joined by commas. Null if it is none of
/// them, or damaged. `stream` must live as long as the result.
Input openInput(AVIOContext *stream, const char *containers);

/// The meaning of an error number of libav.
QString describe(int error);

/// Throws Error "audio" if `result`, which a call of libav that writes sound has returned, is an error
/// number.
void require(int result);

} // namespace kavrin::libav
