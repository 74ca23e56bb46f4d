// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <memory>

struct AVCodecContext;
struct AVFormatContext;
struct AVFrame;
struct AVIOContext;
struct AVPacket;
struct SwrContext;

/// What the reader and the writer of sound files share: owners of libav's objects, and its errors in words.
namespace kavrin::libav
{

/// Frees with libav's own function for the type.
struct Release {
    void operator()(AVCodecContext *codec) const;
    void operator()(AVFrame *frame) const;
    void operator()(AVIOContext *stream) const; ///< with its buffer
    void operator()(AVPacket *packet) const;
    void operator()(SwrContext *converter) const;
};

struct CloseInput {
    void operator()(AVFormatContext *format) const;
};

struct CloseOutput {
    void operator()(AVFormatContext *format) const;
};

using Codec = std::unique_ptr<AVCodecContext, Release>;
using Frame = std::unique_ptr<AVFrame, Release>;
using Stream = std::unique_ptr<AVIOContext, Release>;
using Packet = std::unique_ptr<AVPacket, Release>;
using Converter = std::unique_ptr<SwrContext, Release>;
using Input = std::unique_ptr<AVFormatContext, CloseInput>;
using Output = std::unique_ptr<AVFormatContext, CloseOutput>;

/// Bytes of the buffer between a container and its file.
inline constexpr int BufferSize = 16 * 1024;

/// What an error number returned by libav means.
QString describe(int error);

} // namespace kavrin::libav
