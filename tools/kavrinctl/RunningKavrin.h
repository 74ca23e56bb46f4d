// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <chrono>
#include <optional>

namespace kavrin::ctl
{

/// Asks the running application for dictation over the session bus, which works whatever the shared suite
/// does: `method` is one of app.kavrin.Dictation. Waits for the answer. Returns false if no application is
/// there: none runs, or it has no bus. Throws Refusal with the reason if it refuses, or if no answer comes
/// within `limit`.
bool askForDictation(const QString &method, std::chrono::milliseconds limit);

/// What the running application does, whatever the shared suite says: "starting", "recording", "working" or
/// "idle". None if no application is there. Throws Refusal if no answer comes.
std::optional<QString> runningState();

/// The version of the running application. None if no application is there; empty if it is too old to tell.
/// Throws Refusal if no answer comes.
std::optional<QString> runningVersion();

/// Why the last dictation of the running application brought no text. The application tells each failure
/// once. Empty if there is none. Throws Refusal if no answer comes.
QString takeRunningFailure();

/// Makes the running application read its settings again, and waits until it has. Does nothing if none runs
/// on the session bus, and gives up after a second.
void tellOfSettings();

/// Tells the running application before an import, so that its window can undo it. Waits like
/// tellOfSettings(), which must follow the import.
void tellOfComingImport();

} // namespace kavrin::ctl
