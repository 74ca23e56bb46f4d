// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <string_view>
#include <vector>

namespace kavrin::test
{

/// Recorded human speech (WAV, 16 kHz mono) and the words that were spoken.
struct Recording {
    QString path;
    QString spoken;
};

/// The recordings of read prose in Debian's pocketsphinx-testdata, 25 seconds of them.
std::vector<Recording> proseRecordings();

/// The first of them: seven seconds.
Recording proseRecording();

/// A second of another speaker: "ten of clubs".
Recording shortRecording();

/// Three and a half seconds of that speaker: "eight of spades four of clubs seven of hearts".
Recording otherShortRecording();

QByteArray readFile(const QString &path);

/// What ffmpeg writes to its output when run with these arguments. The output's name is not among them;
/// `suffix` says its container. Throws std::runtime_error when ffmpeg fails.
QByteArray ffmpeg(const QStringList &arguments, const QString &suffix);

inline std::string_view view(const QByteArray &bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

} // namespace kavrin::test
