// SPDX-License-Identifier: MIT
#include "SoundFiles.h"

#include "platform/linux/audio/SoundCodecs.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstring>
#include <numbers>
#include <stdexcept>

namespace kavrin::test
{

namespace
{

template <typename T> QByteArray littleEndian(T value)
{
    QByteArray bytes(sizeof(T), Qt::Uninitialized);
    qToLittleEndian(value, bytes.data());
    return bytes;
}

QByteArray outputOf(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(program, arguments);
    if (!process.waitForFinished()) {
        throw std::runtime_error(program.toStdString() + " does not end");
    }
    return process.readAllStandardOutput();
}

} // namespace

std::vector<float> tone(double frequency, double seconds, int sampleRate, double amplitude)
{
    std::vector<float> samples(static_cast<std::size_t>(seconds * sampleRate));
    for (std::size_t index = 0; index < samples.size(); ++index) {
        const double angle = 2 * std::numbers::pi * frequency * static_cast<double>(index) / sampleRate;
        samples[index] = static_cast<float>(amplitude * std::sin(angle));
    }
    return samples;
}

QByteArray wavOf(const std::vector<float> &samples, int sampleRate)
{
    const auto size = static_cast<quint32>(2 * samples.size());
    const auto rate = static_cast<quint32>(sampleRate);
    QByteArray wav = "RIFF" + littleEndian<quint32>(36 + size) + "WAVEfmt " + littleEndian<quint32>(16)
        + littleEndian<quint16>(1) + littleEndian<quint16>(1) + littleEndian<quint32>(rate)
        + littleEndian<quint32>(2 * rate) + littleEndian<quint16>(2) + littleEndian<quint16>(16) + "data"
        + littleEndian<quint32>(size);
    for (const float sample : samples) {
        wav += littleEndian<qint16>(static_cast<qint16>(std::lround(sample * 32767)));
    }
    return wav;
}

QString fileOf(const QString &name, const QByteArray &bytes)
{
    const QString path = QDir::home().filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        throw std::runtime_error(file.errorString().toStdString());
    }
    return path;
}

QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        throw std::runtime_error(file.errorString().toStdString());
    }
    return file.readAll();
}

std::vector<float> decoded(const QString &path)
{
    const QByteArray bytes =
        outputOf(QStringLiteral("ffmpeg"),
                 {QStringLiteral("-i"), path, QStringLiteral("-f"), QStringLiteral("f32le"),
                  QStringLiteral("-ac"), QStringLiteral("1"), QStringLiteral("-")});
    std::vector<float> samples(static_cast<std::size_t>(bytes.size()) / sizeof(float));
    if (!samples.empty()) {
        std::memcpy(samples.data(), bytes.constData(), samples.size() * sizeof(float));
    }
    return samples;
}

QStringList boxes(const QByteArray &mpeg4)
{
    QStringList types;
    for (qsizetype begin = 0; begin + 8 <= mpeg4.size();) {
        types.append(QString::fromLatin1(mpeg4.mid(begin + 4, 4)));
        begin += std::max<qsizetype>(8, qFromBigEndian<quint32>(mpeg4.constData() + begin));
    }
    return types;
}

QStringList boxes(const QByteArray &mpeg4, const QByteArray &within)
{
    const qsizetype begin = mpeg4.indexOf(within) - 4;
    return begin < 0 ? QStringList()
                     : boxes(mpeg4.mid(begin + 8, qFromBigEndian<quint32>(mpeg4.constData() + begin) - 8));
}

QByteArray unfinishedRecording(const std::vector<float> &samples)
{
    const QString path = QDir::home().filePath(QStringLiteral("unfinished.m4a"));
    const auto writer = SoundCodecs::load().createAac(path, 16000, 1);
    writer->write(samples);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        throw std::runtime_error(file.errorString().toStdString());
    }
    return file.readAll();
}

QString probed(const QString &path)
{
    const QByteArray line =
        outputOf(QStringLiteral("ffprobe"),
                 {QStringLiteral("-show_entries"), QStringLiteral("stream=codec_name,sample_rate,channels"),
                  QStringLiteral("-of"), QStringLiteral("csv=p=0"), path});
    return QString::fromUtf8(line.trimmed());
}

double duration(const QString &path)
{
    return outputOf(QStringLiteral("ffprobe"),
                    {QStringLiteral("-show_entries"), QStringLiteral("format=duration"),
                     QStringLiteral("-of"), QStringLiteral("csv=p=0"), path})
        .trimmed()
        .toDouble();
}

double shareOf(double frequency, const std::vector<float> &samples, int sampleRate)
{
    std::complex<double> sum;
    double power = 0;
    for (std::size_t index = 0; index < samples.size(); ++index) {
        const double angle = 2 * std::numbers::pi * frequency * static_cast<double>(index) / sampleRate;
        sum += static_cast<double>(samples[index]) * std::polar(1.0, -angle);
        power += static_cast<double>(samples[index]) * samples[index];
    }
    return power > 0 ? 2 * std::norm(sum) / (power * static_cast<double>(samples.size())) : 0;
}

std::vector<float> withoutSilence(const std::vector<float> &samples)
{
    const auto isLoud = [](float sample) { return std::abs(sample) > 0.05F; };
    const auto first = std::find_if(samples.begin(), samples.end(), isLoud);
    const auto last = std::find_if(samples.rbegin(), samples.rend(), isLoud).base();
    return first < last ? std::vector<float>(first, last) : std::vector<float>();
}

} // namespace kavrin::test
