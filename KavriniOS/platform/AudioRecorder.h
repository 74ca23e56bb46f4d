// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QCoroTask>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace kavrin
{

/// What is written: the format and its two settings that are ever chosen; everything else is the encoder's
/// own.
struct AudioRecorderSettings {
    enum class Format { Mpeg4Aac }; ///< AAC in an MPEG-4 container

    Format format = Format::Mpeg4Aac;
    int sampleRate = 16000; ///< hertz
    int channels = 1;

    bool operator==(const AudioRecorderSettings &) const = default;
};

/// One recording from the microphone into a file. Main thread only.
class AudioRecorder
{
public:
    /// Stops without finishing the file.
    virtual ~AudioRecorder() = default;

    /// Begins to capture. Resumes when the first samples have arrived, with true, or with false where none
    /// came within half a second; capturing goes on then and may still succeed.
    virtual QCoro::Task<bool> record() = 0;

    /// Ends the recording and closes the file, which then holds all that was captured. The microphone is let
    /// go.
    virtual void stop() = 0;

    [[nodiscard]] virtual bool isRecording() const = 0;

    /// Why what is said is recorded no longer, from the moment on when that is so: the file can be written no
    /// further, or the sound that had come has ended. What was recorded before is kept.
    [[nodiscard]] virtual std::optional<Error> failure() const = 0;

    /// Metering costs nothing until it is enabled.
    virtual void setMeteringEnabled(bool enabled) = 0;

    /// Takes the level of what was captured since the last update.
    virtual void updateMeters() = 0;

    /// The mean power of a channel at the last update, in decibels relative to full scale: 0 is the loudest,
    /// -160 silence.
    [[nodiscard]] virtual float averagePower(int channel) const = 0;
};

/// Opens `path`, replacing what was there, and makes a recorder on it. Throws Error.
using MakeAudioRecorder =
    std::function<std::shared_ptr<AudioRecorder>(const QString &path, const AudioRecorderSettings &settings)>;

} // namespace kavrin
