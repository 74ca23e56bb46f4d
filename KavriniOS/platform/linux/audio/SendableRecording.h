// SPDX-License-Identifier: MIT
#pragma once

#include <QFile>
#include <QString>

namespace kavrin
{

/// A recording as every speech service takes it. A recording that was not finished, because the program was
/// killed, is a fragmented MPEG-4 file, which some decoders of services refuse. An ordinary copy, in memory,
/// takes its place. The file itself never changes: another process may still record into it.
class SendableRecording
{
public:
    /// Throws Error "audio" if the recording is fragmented and holds no sound.
    explicit SendableRecording(const QString &path);

    /// The file to send: the copy, as long as this object lives; or the recording itself, whatever it is, if
    /// it is not fragmented or no copy can be made.
    [[nodiscard]] QString path() const { return m_path; }

private:
    QString m_path;
    QFile m_copy;
};

} // namespace kavrin
