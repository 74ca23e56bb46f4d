// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"
#include "platform/linux/audio/Sound.h"

#include <optional>
#include <string_view>

namespace kavrin
{

/// The longest sound that decodeSound() takes, so that a small file cannot fill the memory.
constexpr int longestSoundInSeconds = 60 * 60;

/// Decodes a whole sound file held in memory, into the format `wanted` or the one that it has itself.
///
/// Takes the containers that the public transcription services take: MPEG-4 (fragmented or not), WAV, MP3,
/// Ogg, FLAC, WebM, and bare AAC. The file's content says which one it is. A file cut short gives the samples
/// up to the cut, as far as its container can be read at all; a file without a single sample of sound gives
/// none. Other files and addresses that a container refers to are never opened.
///
/// Throws Error "audio", with a sentence for the person who made the file, when it is empty, is none of
/// these, holds no sound, or is longer than longestSoundInSeconds. Any thread, several at once.
Sound decodeSound(std::string_view file, std::optional<SoundFormat> wanted = {});

} // namespace kavrin
