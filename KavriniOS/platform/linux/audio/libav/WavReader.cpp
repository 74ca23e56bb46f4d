// SPDX-License-Identifier: MIT
#include "platform/linux/audio/libav/WavReader.h"

#include "platform/linux/audio/libav/Libav.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/mem.h>
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <cstring>

namespace kavrin
{

namespace
{

Error wavError(const QString &reason, int code)
{
    return Error(QStringLiteral("audio"), code,
                 QStringLiteral("The sound cannot be played: %1.").arg(reason));
}

void require(int result)
{
    if (result < 0) {
        throw wavError(libav::describe(result), result);
    }
}

template <typename T> void requireMemory(const T &pointer)
{
    if (!pointer) {
        require(AVERROR(ENOMEM));
    }
}

/// Bytes in memory as libav's input.
class MemoryFile
{
public:
    explicit MemoryFile(const QByteArray &bytes) : m_bytes(bytes)
    {
        auto *buffer = static_cast<unsigned char *>(av_malloc(libav::BufferSize));
        requireMemory(buffer);
        m_stream.reset(avio_alloc_context(buffer, libav::BufferSize, 0, this, &read, nullptr, &seek));
        if (!m_stream) {
            av_free(buffer);
        }
        requireMemory(m_stream);
    }

    [[nodiscard]] AVIOContext *stream() const { return m_stream.get(); }

private:
    static int read(void *file, std::uint8_t *target, int room)
    {
        auto *self = static_cast<MemoryFile *>(file);
        const qint64 count = std::min<qint64>(room, self->m_bytes.size() - self->m_position);
        if (count <= 0) {
            return AVERROR_EOF;
        }
        std::memcpy(target, self->m_bytes.constData() + self->m_position, static_cast<std::size_t>(count));
        self->m_position += count;
        return static_cast<int>(count);
    }

    static std::int64_t seek(void *file, std::int64_t offset, int whence)
    {
        auto *self = static_cast<MemoryFile *>(file);
        if (whence == AVSEEK_SIZE) {
            return self->m_bytes.size();
        }
        if (whence != SEEK_SET || offset < 0) {
            return AVERROR(EINVAL);
        }
        self->m_position = offset;
        return offset;
    }

    const QByteArray &m_bytes;
    qint64 m_position = 0;
    libav::Stream m_stream;
};

libav::Input openWav(const MemoryFile &file)
{
    AVFormatContext *format = avformat_alloc_context();
    requireMemory(format);
    format->pb = file.stream();
    // On failure libav frees the context itself.
    require(avformat_open_input(&format, nullptr, av_find_input_format("wav"), nullptr));
    libav::Input input(format);
    require(avformat_find_stream_info(format, nullptr));
    return input;
}

libav::Codec openDecoder(const AVStream &track)
{
    const AVCodec *codec = avcodec_find_decoder(track.codecpar->codec_id);
    if (!codec) {
        require(AVERROR_DECODER_NOT_FOUND);
    }
    libav::Codec decoder(avcodec_alloc_context3(codec));
    requireMemory(decoder);
    require(avcodec_parameters_to_context(decoder.get(), track.codecpar));
    require(avcodec_open2(decoder.get(), codec, nullptr));
    return decoder;
}

/// Turns a decoded frame, whatever its sample format, into interleaved floats at the end of `samples`.
void append(const AVFrame &frame, libav::Converter &converter, std::vector<float> &samples)
{
    if (!converter) {
        SwrContext *made = nullptr;
        auto *layout = const_cast<AVChannelLayout *>(&frame.ch_layout); // only read
        require(swr_alloc_set_opts2(&made, layout, AV_SAMPLE_FMT_FLT, frame.sample_rate, layout,
                                    static_cast<AVSampleFormat>(frame.format), frame.sample_rate, 0,
                                    nullptr));
        converter.reset(made);
        require(swr_init(made));
    }
    const std::size_t before = samples.size();
    samples.resize(before
                   + static_cast<std::size_t>(frame.nb_samples)
                       * static_cast<std::size_t>(frame.ch_layout.nb_channels));
    auto *target = reinterpret_cast<std::uint8_t *>(samples.data() + before);
    require(swr_convert(converter.get(), &target, frame.nb_samples,
                        const_cast<const std::uint8_t **>(frame.extended_data), frame.nb_samples));
}

void decode(AVCodecContext &decoder, const AVPacket *packet, AVFrame &frame, libav::Converter &converter,
            std::vector<float> &samples)
{
    require(avcodec_send_packet(&decoder, packet));
    for (;;) {
        const int result = avcodec_receive_frame(&decoder, &frame);
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) {
            return;
        }
        require(result);
        append(frame, converter, samples);
    }
}

} // namespace

Sound readWav(const QByteArray &wav)
{
    const MemoryFile file(wav);
    const libav::Input input = openWav(file);
    const int track = av_find_best_stream(input.get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    require(track);
    const libav::Codec decoder = openDecoder(*input->streams[track]);
    const libav::Frame frame(av_frame_alloc());
    const libav::Packet packet(av_packet_alloc());
    requireMemory(frame);
    requireMemory(packet);

    Sound sound;
    libav::Converter converter;
    while (av_read_frame(input.get(), packet.get()) >= 0) {
        if (packet->stream_index == track) {
            decode(*decoder, packet.get(), *frame, converter, sound.samples);
        }
        av_packet_unref(packet.get());
    }
    decode(*decoder, nullptr, *frame, converter, sound.samples);
    if (sound.samples.empty()) {
        throw wavError(QStringLiteral("the file holds no samples"), 1);
    }
    sound.sampleRate = decoder->sample_rate;
    sound.channels = decoder->ch_layout.nb_channels;
    return sound;
}

} // namespace kavrin
