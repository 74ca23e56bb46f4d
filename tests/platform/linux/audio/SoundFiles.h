// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <vector>

/// Sounds to feed and to compare. Mono throughout; lengths in seconds, frequencies in hertz.
namespace kavrin::test
{

/// A sine of full scale times `amplitude`.
std::vector<float> tone(double frequency, double seconds, int sampleRate, double amplitude = 1);

/// A canonical RIFF/WAVE file of 16-bit samples.
QByteArray wavOf(const std::vector<float> &samples, int sampleRate);

/// Writes `bytes` to a new file in the private home; returns its path.
QString fileOf(const QString &name, const QByteArray &bytes);

/// All bytes of a file.
QByteArray contentsOf(const QString &path);

/// The samples of a sound file as FFmpeg decodes them, at the file's own rate; as many as can be decoded.
std::vector<float> decoded(const QString &path);

/// The types of the boxes of an MPEG-4 file in their order, at the top and in the box `within`.
QStringList boxes(const QByteArray &mpeg4);
QStringList boxes(const QByteArray &mpeg4, const QByteArray &within);

/// A recording at 16 kHz that is still being written, or that a killed program has left.
QByteArray unfinishedRecording(const std::vector<float> &samples);

/// One line of ffprobe's about a file's sound: "codec_name,sample_rate,channels".
QString probed(const QString &path);

/// Seconds, as the file itself says.
double duration(const QString &path);

/// How much of the power of `samples` is at `frequency`: 1 for a pure tone, 0 for none.
double shareOf(double frequency, const std::vector<float> &samples, int sampleRate);

/// The part from the first to the last sample louder than a twentieth of full scale.
std::vector<float> withoutSilence(const std::vector<float> &samples);

} // namespace kavrin::test
