// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// The keys of the shared suite through which the keyboard and the application do a dictation, and what
/// stands there. docs/shared-suite.md describes them. Times are seconds since 1970-01-01 00:00 UTC.
namespace kavrin::dictation
{

inline const QString commandKey = QStringLiteral("dictationCommand"); ///< what the keyboard asks for
inline const QString aliveKey =
    QStringLiteral("dictationAlive"); ///< when the application was last seen alive
inline const QString stateKey = QStringLiteral("dictationState");
inline const QString transcriptKey = QStringLiteral("transcript");
inline const QString stampKey = QStringLiteral("tStamp"); ///< when the transcript was stored
inline const QString usedKey = QStringLiteral("tUsed"); ///< the stamp of the transcript that was last used
inline const QString applicationProbeKey = QStringLiteral("probeApp"); ///< when the window was last opened

/// Commands. An empty one is one that was taken.
inline const QString startCommand = QStringLiteral("start");
inline const QString stopCommand = QStringLiteral("stop");

/// States.
inline const QString starting = QStringLiteral("starting");
inline const QString recording = QStringLiteral("recording");
inline const QString working = QStringLiteral("working");
inline const QString done = QStringLiteral("done");
inline const QString idle = QStringLiteral("idle");

} // namespace kavrin::dictation
