// SPDX-License-Identifier: MIT
#include "platform/linux/audio/libav/SoundDecoder.h"

#include "platform/linux/audio/libav/Libav.h"
#include "platform/linux/audio/libav/MemoryFile.h"

namespace kavrin
{
namespace
{

using namespace Qt::StringLiterals;

// Playlists and similar containers, which name other files, are not in this list.
constexpr const char *acceptedContainers = "mov,mp4,m4a,wav,mp3,ogg,flac,matroska,webm,aac";
constexpr const char *soundContainers =
    "mov,mp4,m4a,wav,mp3,ogg,flac,matroska,webm,aac,aiff,amr,asf,au,avi,caf,flv,mpeg,mpegts,w64";

Error unreadable(const QString &sentence)
{
    return {u"audio"_s, AVERROR_INVALIDDATA, sentence};
}

Error unknownFile()
{
    return unreadable(u"The file is not a recording that can be read. Send MPEG-4 (m4a, mp4), WAV, MP3, Ogg, "
                      "FLAC or WebM audio, and the whole of it."_s);
}

libav::Input openContainer(const MemoryFile &file, const char *containers)
{
    if (file.isEmpty()) {
        throw unreadable(u"The file is empty."_s);
    }
    libav::Input opened = libav::openInput(file.stream(), containers);
    if (!opened) {
        throw unknownFile();
    }
    if (avformat_find_stream_info(opened.get(), nullptr) < 0) {
        throw unreadable(u"The file is damaged: its sound could not be found."_s);
    }
    return opened;
}

/// The number of the track that holds the sound.
int soundTrack(AVFormatContext *container)
{
    const int track = av_find_best_stream(container, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    if (track < 0) {
        throw unreadable(u"There is no sound in the file."_s);
    }
    return track;
}

libav::Codec openDecoder(const AVStream &track)
{
    const AVCodec *codec = avcodec_find_decoder(track.codecpar->codec_id);
    if (!codec) {
        throw unreadable(u"The sound in the file is coded in a way that is not known here."_s);
    }
    auto decoder = libav::owned<libav::Codec>(avcodec_alloc_context3(codec));
    if (avcodec_parameters_to_context(decoder.get(), track.codecpar) < 0
        || avcodec_open2(decoder.get(), codec, nullptr) < 0) {
        throw unreadable(u"The file is damaged: its sound could not be decoded."_s);
    }
    return decoder;
}

/// Collects decoded frames of any format and converts them to one.
class SoundCollector
{
public:
    explicit SoundCollector(std::optional<SoundFormat> wanted) : m_wanted(wanted) { }

    void add(AVFrame &frame)
    {
        if (frame.ch_layout.order == AV_CHANNEL_ORDER_UNSPEC) {
            av_channel_layout_default(&frame.ch_layout, frame.ch_layout.nb_channels);
        }
        if (!m_wanted) {
            m_wanted = {frame.sample_rate, frame.ch_layout.nb_channels};
        }
        // The sample rate or the number of channels may change within a track.
        if (m_converter && convert(&frame) == Conversion::Done) {
            return;
        }
        flush();
        m_converter = libav::owned<libav::Converter>(swr_alloc());
        convert(&frame);
    }

    Sound take()
    {
        flush();
        return {m_wanted.value_or(SoundFormat()), std::move(m_samples)};
    }

private:
    enum class Conversion { Done, InputChanged };

    void flush()
    {
        if (m_converter) {
            convert(nullptr);
            m_converter.reset();
        }
    }

    Conversion convert(const AVFrame *frame)
    {
        av_frame_unref(m_converted.get());
        m_converted->format = AV_SAMPLE_FMT_S16;
        m_converted->sample_rate = m_wanted->sampleRate;
        av_channel_layout_default(&m_converted->ch_layout, m_wanted->channels);
        const int result = swr_convert_frame(m_converter.get(), m_converted.get(), frame);
        if (result == AVERROR_INPUT_CHANGED) {
            return Conversion::InputChanged;
        }
        if (result < 0) {
            throw unreadable(u"The file is damaged: its sound could not be converted."_s);
        }
        append();
        return Conversion::Done;
    }

    void append()
    {
        const auto channels = std::size_t(m_wanted->channels);
        const std::size_t most = std::size_t(m_wanted->sampleRate) * channels * longestSoundInSeconds;
        const auto *samples = reinterpret_cast<const std::int16_t *>(m_converted->data[0]);
        const std::size_t count = std::size_t(m_converted->nb_samples) * channels;
        if (m_samples.size() + count > most) {
            throw unreadable(
                u"The recording is longer than one hour, the most that is taken. Send it in parts."_s);
        }
        m_samples.insert(m_samples.end(), samples, samples + count);
    }

    std::optional<SoundFormat> m_wanted;
    libav::Frame m_converted = libav::owned<libav::Frame>(av_frame_alloc());
    libav::Converter m_converter;
    std::vector<std::int16_t> m_samples;
};

enum class Outcome { Heard, Damaged };

/// Decodes one packet. Without a packet, decodes what the decoder still holds back.
Outcome decodePacket(AVCodecContext *decoder, const AVPacket *packet, AVFrame *frame, SoundCollector &sound)
{
    const bool isTaken = avcodec_send_packet(decoder, packet) >= 0;
    int received = 0;
    while ((received = avcodec_receive_frame(decoder, frame)) == 0) {
        sound.add(*frame);
        av_frame_unref(frame);
    }
    const bool isThrough = received == AVERROR(EAGAIN) || received == AVERROR_EOF;
    return isTaken && isThrough ? Outcome::Heard : Outcome::Damaged;
}

/// libav finds frames of MP3 and AAC even in bytes that mean nothing, but with a low score.
void expectCertainty(const AVFormatContext &container)
{
    if (container.probe_score < AVPROBE_SCORE_RETRY) {
        throw unknownFile();
    }
}

} // namespace

Sound decodeSound(std::string_view file, std::optional<SoundFormat> wanted)
{
    const MemoryFile bytes(file);
    const libav::Input container = openContainer(bytes, acceptedContainers);
    const int track = soundTrack(container.get());
    const libav::Codec decoder = openDecoder(*container->streams[track]);

    SoundCollector collector(wanted);
    const auto packet = libav::owned<libav::Packet>(av_packet_alloc());
    const auto frame = libav::owned<libav::Frame>(av_frame_alloc());
    bool isDamaged = false;
    while (av_read_frame(container.get(), packet.get()) == 0) {
        if (packet->stream_index == track) {
            isDamaged |=
                decodePacket(decoder.get(), packet.get(), frame.get(), collector) == Outcome::Damaged;
        }
        av_packet_unref(packet.get());
    }
    decodePacket(decoder.get(), nullptr, frame.get(), collector);

    Sound sound = collector.take();
    if (sound.samples.empty() && isDamaged) {
        throw unreadable(u"The file is damaged: none of its sound could be decoded."_s);
    }
    return sound;
}

void checkSound(std::string_view file)
{
    const MemoryFile bytes(file);
    const libav::Input container = openContainer(bytes, soundContainers);
    expectCertainty(*container);
    const int track = soundTrack(container.get());
    const auto packet = libav::owned<libav::Packet>(av_packet_alloc());
    bool isThere = false;
    while (!isThere && av_read_frame(container.get(), packet.get()) == 0) {
        isThere = packet->stream_index == track;
        av_packet_unref(packet.get());
    }
    if (!isThere) {
        throw unreadable(u"There is no sound in the file."_s);
    }
}

} // namespace kavrin
