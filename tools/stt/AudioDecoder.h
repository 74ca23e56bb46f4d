// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace kavrin
{

/// Samples a second of everything that decodeAudio() returns and SpeechRecognizer takes.
constexpr int speechSampleRate = 16000;

/// The longest recording that decodeAudio() takes, so that a small file cannot fill the memory.
constexpr int longestRecordingInSeconds = 60 * 60;

/// Why an upload is no recording that could be heard; what() is a sentence for the person who sent it.
class AudioError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Decodes a whole audio file held in memory into 16-bit mono samples at speechSampleRate.
///
/// Takes the containers that the public transcription services take: MPEG-4 (fragmented or not), WAV, MP3,
/// Ogg, FLAC, WebM, and bare AAC. The file's content says which one it is. A file cut short gives the samples
/// up to the cut, as far as its container can be read at all; a file without a single sample of sound gives
/// none. Other files and addresses that a container refers to are never opened.
///
/// Throws AudioError when `file` is empty, is none of these, holds no audio, or is longer than
/// longestRecordingInSeconds. May be called from any thread, and from several at once.
std::vector<std::int16_t> decodeAudio(std::string_view file);

} // namespace kavrin
