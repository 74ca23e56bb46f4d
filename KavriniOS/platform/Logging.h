// SPDX-License-Identifier: MIT
#pragma once

#include <QLoggingCategory>

/// Messages on standard error for people who look for a fault. By default there are none: each category is
/// silent until the environment asks for it, as in QT_LOGGING_RULES='kavrin.*=true'
/// (https://doc.qt.io/qt-6/qloggingcategory.html). Safe from any thread.
///
/// No line at any level holds what a user says, receives or keeps secret: transcripts, messages, codes, keys
/// and the answers of services. A line names steps, sizes and numbers.
namespace kavrin::Logging
{

Q_DECLARE_LOGGING_CATEGORY(application) // kavrin.application: launch, window, tray, actions
Q_DECLARE_LOGGING_CATEGORY(store) // kavrin.store: which suite, and what failed there
Q_DECLARE_LOGGING_CATEGORY(dictation) // kavrin.dictation: commands and states
Q_DECLARE_LOGGING_CATEGORY(sound) // kavrin.sound: the sound server and the microphone
Q_DECLARE_LOGGING_CATEGORY(transcription) // kavrin.transcription: what is sent where
Q_DECLARE_LOGGING_CATEGORY(loopback) // kavrin.loopback: requests of keyboards
Q_DECLARE_LOGGING_CATEGORY(codes) // kavrin.codes: whether a message held a code

/// Call this first in main(). It silences the details of other libraries' categories, Qt's own among them,
/// whatever the environment asks for: some of them print the keys that the user types, or the messages on the
/// bus. The environment can still ask for their warnings, and for the time that Qt Quick takes to draw.
void setUp();

} // namespace kavrin::Logging
