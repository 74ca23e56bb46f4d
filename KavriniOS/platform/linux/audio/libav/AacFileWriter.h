// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/audio/SoundCodecs.h"
#include "platform/linux/audio/libav/Libav.h"

#include <QFile>
#include <QString>

#include <cstdint>
#include <optional>
#include <span>

namespace kavrin
{

/// Writes sound as AAC-LC (ISO/IEC 14496-3) into an MPEG-4 file (ISO/IEC 14496-12) with the brand "M4A ". The
/// file is fragmented until finish() puts an ordinary one in its place (OrdinaryMpeg4.h).
///
/// A fragment holds one second and is written when it is full. If the writer is killed, or the disk is full,
/// the file plays up to the last whole fragment, and usually further. Memory does not grow with the length.
/// The encoder puts 64 ms of silence (1024 samples at 16 kHz) before the first sample.
///
/// Equal samples give equal files.
class AacFileWriter final : public SoundFileWriter
{
public:
    /// See SoundCodecs::createAac().
    AacFileWriter(const QString &path, int sampleRate, int channels);

    /// Closes the file. Without finish(), everything after the last whole fragment is lost.
    ~AacFileWriter() override;

    AacFileWriter(const AacFileWriter &) = delete;
    AacFileWriter &operator=(const AacFileWriter &) = delete;

    void write(std::span<const float> samples) override;
    void finish() override;
    [[nodiscard]] bool hasSound() const override { return m_hasSound; }
    [[nodiscard]] std::optional<Error> failure() const override { return m_failure; }

private:
    int writeBytes(const std::uint8_t *bytes, int count);

    void openFile();
    void openEncoder(int sampleRate, int channels);
    void openContainer();
    void encode(AVFrame *frame);
    void makeOrdinary();
    [[nodiscard]] bool isInPlace() const;
    void replaceBy(const QByteArray &ordinary) const;
    void fail(const QString &reason);
    [[nodiscard]] Error fileError(const QString &reason) const;

    QFile m_file;
    std::optional<Error> m_failure;
    libav::Codec m_encoder;
    libav::Frame m_frame; ///< encoded when m_filled samples fill it
    libav::Packet m_packet;
    libav::Stream m_stream;
    libav::Output m_container;
    int m_filled = 0; ///< samples of each channel in m_frame
    std::int64_t m_position = 0; ///< number of samples of each channel encoded so far
    bool m_hasSound = false;
};

} // namespace kavrin
