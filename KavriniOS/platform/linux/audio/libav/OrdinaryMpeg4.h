// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

namespace kavrin
{

/// The packets of an MPEG-4 file (ISO/IEC 14496-12), fragmented or not, in an ordinary one: the brand "M4A ",
/// one "moov" with the tables of all samples, and one "mdat". "moov" comes first, so that a decoder can begin
/// before it has the whole file. The sound is not encoded again. What was cut off at the end of the file, a
/// packet or a table, is left out. Empty if the file has no whole packet.
///
/// Takes a few milliseconds for a minute of a recording, and three times the file's size in memory. Throws
/// Error "audio" if the file cannot be read, or does not have exactly one track, of sound. Any thread.
QByteArray ordinaryMpeg4(const QByteArray &file);

} // namespace kavrin
