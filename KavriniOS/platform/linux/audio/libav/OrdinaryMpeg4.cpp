// SPDX-License-Identifier: MIT
#include "platform/linux/audio/libav/OrdinaryMpeg4.h"

#include "platform/linux/audio/libav/Libav.h"
#include "platform/linux/audio/libav/MemoryFile.h"

#include <QtEndian>

#include <algorithm>
#include <utility>
#include <vector>

namespace kavrin
{

namespace
{

using Packets = std::vector<libav::Packet>;

struct FreeDynamicBuffer {
    void operator()(AVIOContext *stream) const
    {
        std::uint8_t *bytes = nullptr;
        avio_close_dyn_buf(stream, &bytes);
        av_free(bytes);
    }
};
using DynamicBuffer = std::unique_ptr<AVIOContext, FreeDynamicBuffer>;

DynamicBuffer makeBuffer()
{
    AVIOContext *stream = nullptr;
    libav::require(avio_open_dyn_buf(&stream));
    return DynamicBuffer(stream);
}

QByteArray bytesOf(DynamicBuffer buffer)
{
    std::uint8_t *bytes = nullptr;
    const int size = avio_close_dyn_buf(buffer.release(), &bytes);
    const QByteArray copy(reinterpret_cast<const char *>(bytes), size);
    av_free(bytes);
    return copy;
}

/// The file without a box that was cut off at its end, unless that is the sound: because of half a table,
/// libav would refuse the whole file.
QByteArrayView withoutCutTable(QByteArrayView file)
{
    constexpr qsizetype header = 8;
    for (qsizetype begin = 0, size = 0; begin < file.size(); begin += size) {
        const QByteArrayView rest = file.sliced(begin);
        size = rest.size() < header ? header : qsizetype(qFromBigEndian<quint32>(rest.data()));
        if (size > rest.size() && !rest.sliced(std::min<qsizetype>(4, rest.size())).startsWith("mdat")) {
            return file.first(begin);
        }
        if (size < header) { // the box goes to the end of the file, or has a size of 64 bits
            return file;
        }
    }
    return file;
}

libav::Input openRecording(const MemoryFile &file)
{
    libav::Input input = libav::openInput(file.stream(), "mov");
    const bool isRecording =
        input && input->nb_streams == 1 && input->streams[0]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
    libav::require(isRecording ? 0 : AVERROR_INVALIDDATA);
    return input;
}

Packets wholePackets(AVFormatContext *input)
{
    Packets packets;
    for (;;) {
        auto packet = libav::owned<libav::Packet>(av_packet_alloc());
        if (av_read_frame(input, packet.get()) < 0) {
            return packets;
        }
        if ((packet->flags & AV_PKT_FLAG_CORRUPT) == 0) {
            packets.push_back(std::move(packet));
        }
    }
}

/// The last packet of a recording is shorter than the others. The demuxer knows when the track ends, but does
/// not give the packet its duration. In a file that was cut off, the track would end later.
void completeDuration(AVPacket *last, const AVStream &track)
{
    constexpr std::int64_t samplesOfAPacket = 1024;
    const std::int64_t left = track.duration - last->dts;
    last->duration = left > 0 ? std::min(left, samplesOfAPacket) : samplesOfAPacket;
}

/// Begins the file. The tables need at most `room` bytes before the sound.
void writeHeader(AVFormatContext *container, std::size_t room)
{
    AVDictionary *options = nullptr;
    av_dict_set_int(&options, "moov_size", std::int64_t(room), 0);
    av_dict_set_int(&options, "use_editlist", 0, 0);
    const int result = avformat_write_header(container, &options);
    av_dict_free(&options);
    libav::require(result);
}

QByteArray written(const AVStream &source, const Packets &packets)
{
    DynamicBuffer buffer = makeBuffer();
    AVFormatContext *container = nullptr;
    libav::require(avformat_alloc_output_context2(&container, nullptr, "ipod", nullptr));
    const libav::Output output(container);
    container->pb = buffer.get();
    container->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_BITEXACT;
    AVStream *track = avformat_new_stream(container, nullptr);
    libav::require(track ? 0 : AVERROR(ENOMEM));
    libav::require(avcodec_parameters_copy(track->codecpar, source.codecpar));
    track->codecpar->codec_tag = 0; // the container's own
    track->time_base = source.time_base;

    constexpr std::size_t fixedTables = 4096;
    constexpr std::size_t tablesOfAPacket = 16;
    writeHeader(container, fixedTables + tablesOfAPacket * packets.size());
    for (const libav::Packet &packet : packets) {
        av_packet_rescale_ts(packet.get(), source.time_base, track->time_base);
        libav::require(av_write_frame(container, packet.get()));
    }
    libav::require(av_write_trailer(container));
    return bytesOf(std::move(buffer));
}

} // namespace

QByteArray ordinaryMpeg4(const QByteArray &file)
{
    const QByteArrayView whole = withoutCutTable(file);
    const MemoryFile bytes({whole.data(), std::size_t(whole.size())});
    const libav::Input input = openRecording(bytes);
    const AVStream &track = *input->streams[0];
    const Packets packets = wholePackets(input.get());
    if (packets.empty()) {
        return {};
    }
    completeDuration(packets.back().get(), track);
    return written(track, packets);
}

} // namespace kavrin
