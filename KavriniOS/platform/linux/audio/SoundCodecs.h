// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"
#include "platform/linux/audio/Sound.h"

#include <QByteArray>
#include <QString>

#include <memory>
#include <optional>
#include <span>

namespace kavrin
{

/// A sound file that is being written.
///
/// Not thread-safe: one thread at a time.
class SoundFileWriter
{
public:
    /// Closes the file. Unfinished parts may be lost.
    virtual ~SoundFileWriter() = default;

    /// Takes interleaved samples between -1 and 1, any number of them. After a failure it does nothing.
    virtual void write(std::span<const float> samples) = 0;

    /// Writes what is left and closes the file. Does nothing the second time.
    virtual void finish() = 0;

    /// Whether the file holds any sound. Only after finish().
    [[nodiscard]] virtual bool hasSound() const = 0;

    /// The first failure since the file was opened; none if there was none.
    [[nodiscard]] virtual std::optional<Error> failure() const = 0;
};

/// Encodes and decodes sound with libav, in the module kavrin_libav.so (platform/linux/Module.h): its hundred
/// libraries would double the time that the program takes to start.
///
/// Any thread may call everything here.
class SoundCodecs
{
public:
    /// Loads the module at the first call, which takes some 20 ms, and never unloads it. Throws Error "audio"
    /// if the module or one of its libraries is missing; the next call tries again.
    static const SoundCodecs &load();

    /// Like load(), with the module at any path.
    static const SoundCodecs &loadFrom(const QString &module);

    virtual ~SoundCodecs() = default;

    /// Begins an MPEG-4 file of AAC: fragmented while it is written, ordinary when it is finished. Removes
    /// the file at `path` and makes a new one that only its owner may read and write. A writer that still has
    /// the old file open continues to write that one, which has no name any more. Throws Error "file" if the
    /// file cannot be made, "audio" if the encoder refuses the format.
    [[nodiscard]] virtual std::unique_ptr<SoundFileWriter> createAac(const QString &path, int sampleRate,
                                                                     int channels) const = 0;

    /// Decodes a sound file held in memory, RIFF/WAVE or another that decodeSound() takes, in its own format.
    /// Throws Error "audio" if it is no such file, or holds no samples.
    [[nodiscard]] virtual Sound decode(const QByteArray &file) const = 0;

    /// Throws Error "audio" unless a file held in memory is a recording with some sound in it (checkSound()).
    virtual void check(const QByteArray &file) const = 0;

    /// The sound of an MPEG-4 file, unchanged, as an ordinary MPEG-4 file: see libav/OrdinaryMpeg4.h.
    [[nodiscard]] virtual QByteArray ordinaryMpeg4(const QByteArray &file) const = 0;
};

/// The module's only function, named kavrin_sound_codecs. Its result lives as long as the process.
using SoundCodecsEntry = const SoundCodecs *();

} // namespace kavrin
