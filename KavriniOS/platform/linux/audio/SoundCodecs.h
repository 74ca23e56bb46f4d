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

/// A sound file being written.
///
/// Not thread-safe: one thread at a time.
class SoundFileWriter
{
public:
    /// Closes the file; what was not finished may be lost.
    virtual ~SoundFileWriter() = default;

    /// Takes interleaved samples between -1 and 1, any number of them. After a failure it does nothing.
    virtual void write(std::span<const float> samples) = 0;

    /// Writes what is left and closes the file. Does nothing the second time.
    virtual void finish() = 0;

    /// The first failure since the file was opened; none where all went well.
    [[nodiscard]] virtual std::optional<Error> failure() const = 0;
};

/// Encodes and decodes sound with libav, in the module kavrin_libav.so (platform/linux/Module.h): its hundred
/// libraries would double the time that the program takes to start.
///
/// Everything here may be called from any thread.
class SoundCodecs
{
public:
    /// Loads the module at the first call, which takes some 20 ms; it is never unloaded. Throws Error "audio"
    /// where it or one of its libraries is missing, and tries again at the next call.
    static const SoundCodecs &load();

    /// What load() does, with a module at any place.
    static const SoundCodecs &loadFrom(const QString &module);

    virtual ~SoundCodecs() = default;

    /// Begins an MPEG-4 file of AAC. Removes what is at `path` and makes a new file there that its owner
    /// alone may read and write. A writer that still has the old file open goes on writing that one, which no
    /// name leads to any more. Throws Error "file" where the file cannot be made, "audio" where the encoder
    /// refuses the format.
    [[nodiscard]] virtual std::unique_ptr<SoundFileWriter> createAac(const QString &path, int sampleRate,
                                                                     int channels) const = 0;

    /// Decodes a sound file held in memory, RIFF/WAVE or another that decodeSound() takes, in its own format.
    /// Throws Error "audio" where it is none, or holds no samples.
    [[nodiscard]] virtual Sound decode(const QByteArray &file) const = 0;
};

/// The module's one function, by the name kavrin_sound_codecs; what it returns lives as long as the process.
using SoundCodecsEntry = const SoundCodecs *();

} // namespace kavrin
