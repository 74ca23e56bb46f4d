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

/// Decodes a whole sound file held in memory, into the format `wanted` or into its own.
///
/// Takes the containers that the public transcription services take: MPEG-4 (fragmented or not), WAV, MP3,
/// Ogg, FLAC, WebM, and bare AAC. The file's content shows which one it is. A file that was cut short gives
/// the samples up to the cut, if its container can be read at all. A file without a single sample of sound
/// gives none. This function never opens other files and addresses that a container refers to.
///
/// Throws Error "audio" if the file is empty, is none of these, holds no sound, or is longer than
/// longestSoundInSeconds. The error has a sentence for the person who made the file. Any thread, several at
/// once.
Sound decodeSound(std::string_view file, std::optional<SoundFormat> wanted = {});

/// Throws Error "audio" unless the file is a recording with some sound in it, in one of the containers that
/// decodeSound() takes or in another that is common for sound. It looks at the file's structure and does not
/// decode the sound. Otherwise it is like decodeSound().
void checkSound(std::string_view file);

} // namespace kavrin
