// SPDX-License-Identifier: MIT
#include "tools/stt/AudioDecoder.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/log.h>
#include <libswresample/swresample.h>
}

namespace kavrin
{
namespace
{

// Playlists and the like, which name other files, are not among them.
constexpr const char *acceptedContainers = "mov,mp4,m4a,wav,mp3,ogg,flac,matroska,webm,aac";
constexpr int readBufferSize = 32 * 1024;
constexpr std::size_t mostSamples = std::size_t{speechSampleRate} * longestRecordingInSeconds;

struct Deleter {
    void operator()(AVIOContext *io) const
    {
        av_free(io->buffer);
        avio_context_free(&io);
    }
    void operator()(AVFormatContext *format) const { avformat_close_input(&format); }
    void operator()(AVCodecContext *codec) const { avcodec_free_context(&codec); }
    void operator()(SwrContext *resampler) const { swr_free(&resampler); }
    void operator()(AVPacket *packet) const { av_packet_free(&packet); }
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
};

template <typename T> using Owned = std::unique_ptr<T, Deleter>;

template <typename T> Owned<T> owned(T *allocated)
{
    if (allocated == nullptr) {
        throw std::bad_alloc();
    }
    return Owned<T>(allocated);
}

/// The bytes of a file, read by libavformat as if they were one.
class MemoryFile
{
public:
    explicit MemoryFile(std::string_view bytes) : m_bytes(bytes)
    {
        auto *buffer = static_cast<unsigned char *>(av_malloc(readBufferSize));
        m_io = owned(avio_alloc_context(buffer, readBufferSize, 0, this, read, nullptr, seek));
    }

    AVIOContext *io() { return m_io.get(); }

private:
    static int read(void *self, std::uint8_t *to, int size)
    {
        auto *file = static_cast<MemoryFile *>(self);
        const std::string_view rest = file->m_bytes.substr(file->m_position);
        const std::size_t count = std::min(rest.size(), static_cast<std::size_t>(size));
        if (count == 0) {
            return AVERROR_EOF;
        }
        std::memcpy(to, rest.data(), count);
        file->m_position += count;
        return static_cast<int>(count);
    }

    static std::int64_t seek(void *self, std::int64_t offset, int whence)
    {
        auto *file = static_cast<MemoryFile *>(self);
        const auto size = static_cast<std::int64_t>(file->m_bytes.size());
        if ((whence & AVSEEK_SIZE) != 0) {
            return size;
        }
        if ((whence & ~AVSEEK_FORCE) != SEEK_SET || offset < 0 || offset > size) {
            return AVERROR(EINVAL);
        }
        file->m_position = static_cast<std::size_t>(offset);
        return offset;
    }

    std::string_view m_bytes;
    std::size_t m_position = 0;
    Owned<AVIOContext> m_io;
};

Owned<AVFormatContext> openContainer(MemoryFile &file)
{
    AVFormatContext *format = owned(avformat_alloc_context()).release();
    format->pb = file.io();
    format->flags |= AVFMT_FLAG_CUSTOM_IO;
    format->format_whitelist = av_strdup(acceptedContainers);
    // Opening frees the context when it fails.
    if (avformat_open_input(&format, nullptr, nullptr, nullptr) < 0) {
        throw AudioError(
            "The file is not a recording that can be read. Send MPEG-4 (m4a, mp4), WAV, MP3, Ogg, FLAC "
            "or WebM audio, and the whole of it.");
    }
    Owned<AVFormatContext> opened(format);
    if (avformat_find_stream_info(format, nullptr) < 0) {
        throw AudioError("The file is damaged: its sound could not be found.");
    }
    return opened;
}

Owned<AVCodecContext> openDecoder(const AVStream &stream)
{
    const AVCodec *codec = avcodec_find_decoder(stream.codecpar->codec_id);
    if (codec == nullptr) {
        throw AudioError("The sound in the file is coded in a way that is not known here.");
    }
    Owned<AVCodecContext> decoder = owned(avcodec_alloc_context3(codec));
    if (avcodec_parameters_to_context(decoder.get(), stream.codecpar) < 0
        || avcodec_open2(decoder.get(), codec, nullptr) < 0) {
        throw AudioError("The file is damaged: its sound could not be decoded.");
    }
    return decoder;
}

/// Collects decoded frames of any format as mono samples at the speech rate.
class SpeechSamples
{
public:
    SpeechSamples() : m_converted(owned(av_frame_alloc())) { }

    void add(AVFrame &frame)
    {
        if (frame.ch_layout.order == AV_CHANNEL_ORDER_UNSPEC) {
            av_channel_layout_default(&frame.ch_layout, frame.ch_layout.nb_channels);
        }
        // A stream may change its rate or its channels on the way.
        if (m_resampler && convert(&frame) == Conversion::Done) {
            return;
        }
        flush();
        m_resampler = owned(swr_alloc());
        convert(&frame);
    }

    std::vector<std::int16_t> take()
    {
        flush();
        return std::move(m_samples);
    }

private:
    enum class Conversion { Done, InputChanged };

    void flush()
    {
        if (m_resampler) {
            convert(nullptr);
            m_resampler.reset();
        }
    }

    Conversion convert(const AVFrame *frame)
    {
        av_frame_unref(m_converted.get());
        m_converted->format = AV_SAMPLE_FMT_S16;
        m_converted->sample_rate = speechSampleRate;
        av_channel_layout_default(&m_converted->ch_layout, 1);
        const int result = swr_convert_frame(m_resampler.get(), m_converted.get(), frame);
        if (result == AVERROR_INPUT_CHANGED) {
            return Conversion::InputChanged;
        }
        if (result < 0) {
            throw AudioError("The file is damaged: its sound could not be converted.");
        }
        append();
        return Conversion::Done;
    }

    void append()
    {
        const std::span samples(reinterpret_cast<const std::int16_t *>(m_converted->data[0]),
                                static_cast<std::size_t>(m_converted->nb_samples));
        if (m_samples.size() + samples.size() > mostSamples) {
            throw AudioError(
                "The recording is longer than one hour, the most that is taken. Send it in parts.");
        }
        m_samples.insert(m_samples.end(), samples.begin(), samples.end());
    }

    Owned<AVFrame> m_converted;
    Owned<SwrContext> m_resampler;
    std::vector<std::int16_t> m_samples;
};

enum class Outcome { Heard, Damaged };

/// Decodes one packet, or with none what the decoder still holds back.
Outcome decodePacket(AVCodecContext *decoder, const AVPacket *packet, AVFrame *frame, SpeechSamples &samples)
{
    Outcome outcome = avcodec_send_packet(decoder, packet) < 0 ? Outcome::Damaged : Outcome::Heard;
    int received = 0;
    while ((received = avcodec_receive_frame(decoder, frame)) == 0) {
        samples.add(*frame);
        av_frame_unref(frame);
    }
    if (received != AVERROR(EAGAIN) && received != AVERROR_EOF) {
        outcome = Outcome::Damaged;
    }
    return outcome;
}

} // namespace

std::vector<std::int16_t> decodeAudio(std::string_view bytes)
{
    if (bytes.empty()) {
        throw AudioError("The file is empty.");
    }
    av_log_set_level(AV_LOG_QUIET);

    MemoryFile file(bytes);
    const Owned<AVFormatContext> container = openContainer(file);
    const int stream = av_find_best_stream(container.get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    if (stream < 0) {
        throw AudioError("There is no sound in the file.");
    }
    const Owned<AVCodecContext> decoder = openDecoder(*container->streams[stream]);

    SpeechSamples samples;
    const Owned<AVPacket> packet = owned(av_packet_alloc());
    const Owned<AVFrame> frame = owned(av_frame_alloc());
    bool damaged = false;
    while (av_read_frame(container.get(), packet.get()) == 0) {
        if (packet->stream_index == stream) {
            damaged |= decodePacket(decoder.get(), packet.get(), frame.get(), samples) == Outcome::Damaged;
        }
        av_packet_unref(packet.get());
    }
    decodePacket(decoder.get(), nullptr, frame.get(), samples);

    std::vector<std::int16_t> heard = samples.take();
    if (heard.empty() && damaged) {
        throw AudioError("The file is damaged: none of its sound could be decoded.");
    }
    return heard;
}

} // namespace kavrin
