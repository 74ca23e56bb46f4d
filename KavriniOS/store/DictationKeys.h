// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// The keys of the shared suite that the keyboard and the application use for a dictation, and their values.
/// docs/shared-suite.md describes them. Times are seconds since 1970-01-01 00:00 UTC.
namespace kavrin::dictation
{

inline const QString commandKey = QStringLiteral("dictationCommand"); ///< what the keyboard asks for
inline const QString aliveKey =
    QStringLiteral("dictationAlive"); ///< when the application was last seen alive
inline const QString stateKey = QStringLiteral("dictationState");
inline const QString errorKey = QStringLiteral("dictationError"); ///< why the last dictation failed
inline const QString transcriptKey = QStringLiteral("transcript");
inline const QString stampKey = QStringLiteral("tStamp"); ///< when the transcript was stored
inline const QString usedKey = QStringLiteral("tUsed"); ///< stamp of the last used transcript
inline const QString applicationProbeKey = QStringLiteral("probeApp"); ///< when the window was last opened

/// Commands. The application stores an empty one when it takes one.
inline const QString startCommand = QStringLiteral("start");
inline const QString stopCommand = QStringLiteral("stop");

/// States.
inline const QString starting = QStringLiteral("starting");
inline const QString recording = QStringLiteral("recording");
inline const QString working = QStringLiteral("working");
inline const QString done = QStringLiteral("done");
inline const QString idle = QStringLiteral("idle");

} // namespace kavrin::dictation
