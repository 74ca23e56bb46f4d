// SPDX-License-Identifier: MIT
#include "platform/linux/audio/libav/AacFileWriter.h"

#include "platform/Logging.h"
#include "platform/linux/audio/libav/OrdinaryMpeg4.h"

#include <cstdio>
#include <sys/stat.h>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

constexpr const char *FragmentMicroseconds = "1000000";

// The header goes out before the first sample. The table at the end is left out, because it would grow with
// the recording.
constexpr const char *Fragmented = "empty_moov+default_base_moof+skip_trailer";

constexpr QFile::Permissions ownerOnly = QFile::ReadOwner | QFile::WriteOwner;

} // namespace

AacFileWriter::AacFileWriter(const QString &path, int sampleRate, int channels) : m_file(path)
{
    openEncoder(sampleRate, channels);
    openFile();
    openContainer();
}

AacFileWriter::~AacFileWriter() = default;

Error AacFileWriter::fileError(const QString &reason) const
{
    return Error(u"file"_s, m_file.error(),
                 u"The recording \"%1\" cannot be written: %2."_s.arg(m_file.fileName(), reason));
}

void AacFileWriter::openFile()
{
    if (!m_file.remove() && m_file.exists()) {
        throw fileError(m_file.errorString());
    }
    // NewOnly makes the file or fails. It does not follow a link that someone has put there in the meantime.
    if (!m_file.open(QIODevice::ReadWrite | QIODevice::NewOnly | QIODevice::Unbuffered, ownerOnly)) {
        throw fileError(m_file.errorString());
    }
}

void AacFileWriter::openEncoder(int sampleRate, int channels)
{
    const AVCodec *codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    libav::require(codec ? 0 : AVERROR_ENCODER_NOT_FOUND);
    libav::require(channels < 1 ? AVERROR(EINVAL) : 0);
    m_encoder = libav::owned<libav::Codec>(avcodec_alloc_context3(codec));
    m_encoder->sample_fmt = AV_SAMPLE_FMT_FLTP;
    m_encoder->sample_rate = sampleRate;
    m_encoder->time_base = {1, sampleRate};
    // The bit rate is the encoder's own: 69000 for each channel, half a megabyte a minute. Lower rates cost
    // words: of 92 that PocketSphinx hears in ten recordings, 4 change at 69000, 16 at 48000, 26 at 32000.
    m_encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER | AV_CODEC_FLAG_BITEXACT;
    av_channel_layout_default(&m_encoder->ch_layout, channels);
    libav::require(avcodec_open2(m_encoder.get(), codec, nullptr));

    m_packet = libav::owned<libav::Packet>(av_packet_alloc());
    m_frame = libav::owned<libav::Frame>(av_frame_alloc());
    m_frame->format = m_encoder->sample_fmt;
    m_frame->sample_rate = sampleRate;
    m_frame->nb_samples = m_encoder->frame_size;
    libav::require(av_channel_layout_copy(&m_frame->ch_layout, &m_encoder->ch_layout));
    libav::require(av_frame_get_buffer(m_frame.get(), 0));
}

void AacFileWriter::openContainer()
{
    AVFormatContext *container = nullptr;
    libav::require(avformat_alloc_output_context2(&container, nullptr, "ipod", nullptr));
    m_container.reset(container);

    // The bytes are const from FFmpeg 7 on.
    const auto write = [](void *writer, auto *bytes, int count) {
        return static_cast<AacFileWriter *>(writer)->writeBytes(bytes, count);
    };
    m_stream = libav::makeStream(this, nullptr, write, nullptr);
    container->pb = m_stream.get();
    container->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_FLUSH_PACKETS | AVFMT_FLAG_BITEXACT;

    AVStream *track = avformat_new_stream(container, nullptr);
    if (!track) {
        throw std::bad_alloc();
    }
    track->time_base = m_encoder->time_base;
    libav::require(avcodec_parameters_from_context(track->codecpar, m_encoder.get()));

    AVDictionary *options = nullptr;
    av_dict_set(&options, "movflags", Fragmented, 0);
    av_dict_set(&options, "frag_duration", FragmentMicroseconds, 0);
    const int result = avformat_write_header(container, &options);
    av_dict_free(&options);
    if (m_failure) {
        throw *m_failure;
    }
    libav::require(result);
}

void AacFileWriter::write(std::span<const float> samples)
{
    const auto channels = static_cast<std::size_t>(m_encoder->ch_layout.nb_channels);
    const std::size_t frames = samples.size() / channels;
    for (std::size_t frame = 0; frame < frames && !m_failure; ++frame) {
        for (std::size_t channel = 0; channel < channels; ++channel) {
            auto *plane = reinterpret_cast<float *>(m_frame->extended_data[channel]);
            plane[m_filled] = samples[frame * channels + channel];
        }
        if (++m_filled == m_encoder->frame_size) {
            encode(m_frame.get());
        }
    }
}

void AacFileWriter::finish()
{
    if (!m_file.isOpen()) {
        return;
    }
    if (!m_failure && m_filled > 0) {
        encode(m_frame.get());
    }
    if (!m_failure) {
        encode(nullptr);
    }
    if (!m_failure) {
        const int result = av_write_trailer(m_container.get());
        if (result < 0) {
            fail(libav::describe(result));
        }
    }
    makeOrdinary();
    m_file.close();
}

/// Puts an ordinary file in the place of the fragmented one, which some decoders of services refuse. If that
/// fails, the fragmented one stays, which is whole, too.
void AacFileWriter::makeOrdinary()
{
    m_hasSound = m_position > 0;
    try {
        m_file.seek(0);
        const QByteArray ordinary = ordinaryMpeg4(m_file.readAll());
        m_hasSound = !ordinary.isEmpty();
        if (m_hasSound && isInPlace()) {
            replaceBy(ordinary);
        }
    } catch (const std::exception &error) {
        qCWarning(Logging::sound) << "The recording stays fragmented:" << error.what();
    }
}

/// Whether the path still names the file of this writer.
bool AacFileWriter::isInPlace() const
{
    struct stat own{};
    struct stat named{};
    return ::fstat(m_file.handle(), &own) == 0
        && ::lstat(QFile::encodeName(m_file.fileName()).constData(), &named) == 0
        && own.st_dev == named.st_dev && own.st_ino == named.st_ino;
}

void AacFileWriter::replaceBy(const QByteArray &ordinary) const
{
    QFile file(m_file.fileName() + u".new"_s);
    file.remove();
    const bool isWritten =
        file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered, ownerOnly)
        && file.write(ordinary) == ordinary.size();
    const Error failure = fileError(file.errorString());
    file.close();
    // Unlike QFile::rename(), this replaces the other file in one step.
    if (!isWritten
        || std::rename(QFile::encodeName(file.fileName()).constData(),
                       QFile::encodeName(m_file.fileName()).constData())
            != 0) {
        file.remove();
        throw failure;
    }
}

/// Encodes a frame and hands the packets to the container. Without a frame, encodes what the encoder still
/// holds back.
void AacFileWriter::encode(AVFrame *frame)
{
    if (frame) {
        frame->nb_samples = m_filled;
        frame->pts = m_position;
        m_position += m_filled;
        m_filled = 0;
    }
    int result = avcodec_send_frame(m_encoder.get(), frame);
    while (result >= 0) {
        result = avcodec_receive_packet(m_encoder.get(), m_packet.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) {
            break;
        }
        if (result >= 0) {
            av_packet_rescale_ts(m_packet.get(), m_encoder->time_base, m_container->streams[0]->time_base);
            result = av_write_frame(m_container.get(), m_packet.get());
            av_packet_unref(m_packet.get());
        }
    }
    if (frame && (result >= 0 || result == AVERROR(EAGAIN))) {
        // The encoder may still hold the frame's memory.
        frame->nb_samples = m_encoder->frame_size;
        result = av_frame_make_writable(frame);
    }
    if (result < 0 && result != AVERROR_EOF && result != AVERROR(EAGAIN)) {
        fail(libav::describe(result));
    }
}

void AacFileWriter::fail(const QString &reason)
{
    // The first failure is the cause. libav reports the failures that follow from it in its own words.
    if (!m_failure) {
        m_failure = fileError(reason);
    }
}

int AacFileWriter::writeBytes(const std::uint8_t *bytes, int count)
{
    if (m_failure) {
        return AVERROR(EIO);
    }
    // A disk that fills up first accepts a part, and then refuses the rest with the reason.
    for (qint64 done = 0; done < count;) {
        const qint64 taken = m_file.write(reinterpret_cast<const char *>(bytes) + done, count - done);
        if (taken < 0) {
            fail(m_file.errorString());
            return AVERROR(EIO);
        }
        done += taken;
    }
    return count;
}

} // namespace kavrin
