// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace kavrin
{

/// The last recordings whose transcription failed, so that the next recording does not overwrite what the
/// user may want to send again. They are files that only the user can read, and gone after logout. Nothing is
/// kept if the session has no folder for that, or if it is full. Main thread only.
class KeptRecordings
{
public:
    static constexpr qsizetype most = 3;

    /// Keeps a recording as the latest, and removes the oldest of more than `most`. Returns whether it is
    /// kept.
    static bool keep(const QByteArray &recording);

    /// The path of the one that was kept last; none if there is none.
    static std::optional<QString> latest();

    /// Removes one of them. Ignores any other file.
    static void remove(const QString &path);
};

} // namespace kavrin
