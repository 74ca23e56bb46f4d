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

/// The format of a recording, with the two settings that the application chooses. The encoder chooses all
/// others.
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

    /// Begins to capture. Resumes with true when the first samples have arrived. Resumes with false if none
    /// came within half a second; capturing continues and may still succeed.
    virtual QCoro::Task<bool> record() = 0;

    /// Ends the recording, closes the file, which then holds all captured sound, and releases the microphone.
    virtual void stop() = 0;

    [[nodiscard]] virtual bool isRecording() const = 0;

    /// Why the recorder does not record: no sound has come although it should have by now, or it has stopped
    /// coming, or the file cannot be written any more. None while it records, also if the sound comes late.
    /// The file keeps what was recorded before.
    [[nodiscard]] virtual std::optional<Error> failure() const = 0;

    /// Whether the file holds any sound. Only after stop().
    [[nodiscard]] virtual bool hasSound() const = 0;

    /// Whether the user has muted the microphone. The machine takes a moment to answer, so this is its answer
    /// to an earlier call, and false at first.
    virtual bool isMuted() = 0;

    /// Metering costs nothing until it is enabled.
    virtual void setMeteringEnabled(bool enabled) = 0;

    /// Measures the level of the sound captured since the last update.
    virtual void updateMeters() = 0;

    /// The mean power of a channel at the last update, in decibels relative to full scale: 0 is the loudest,
    /// -160 silence.
    [[nodiscard]] virtual float averagePower(int channel) const = 0;
};

/// Opens `path`, replaces the file that was there, and makes a recorder that writes to it. Throws Error.
using MakeAudioRecorder =
    std::function<std::shared_ptr<AudioRecorder>(const QString &path, const AudioRecorderSettings &settings)>;

} // namespace kavrin
