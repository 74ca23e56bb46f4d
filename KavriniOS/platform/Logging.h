// SPDX-License-Identifier: MIT
#pragma once

#include <QLoggingCategory>

/// What a program tells those who look for a fault, on standard error. By default nothing: each category is
/// silent until the environment asks for it, as in QT_LOGGING_RULES='kavrin.*=true'
/// (https://doc.qt.io/qt-6/qloggingcategory.html). Safe from any thread.
///
/// What a user says, receives or keeps secret is in no line at any level: transcripts, messages, codes, keys
/// and what a service answered. Who adds a line names steps, sizes and numbers.
namespace kavrin::Logging
{

Q_DECLARE_LOGGING_CATEGORY(application) // kavrin.application: launch, window, tray, actions
Q_DECLARE_LOGGING_CATEGORY(store) // kavrin.store: which suite, and what it could not do
Q_DECLARE_LOGGING_CATEGORY(dictation) // kavrin.dictation: commands and states
Q_DECLARE_LOGGING_CATEGORY(sound) // kavrin.sound: the sound server and the microphone
Q_DECLARE_LOGGING_CATEGORY(transcription) // kavrin.transcription: what is sent where
Q_DECLARE_LOGGING_CATEGORY(loopback) // kavrin.loopback: requests of keyboards
Q_DECLARE_LOGGING_CATEGORY(codes) // kavrin.codes: whether a message held a code

/// To be called first in main(). Other libraries' categories, Qt's own among them, keep their details for
/// themselves from then on, whatever the environment asks for: some print the keys that are typed and the
/// messages that come over the bus. Their warnings can be asked for, and how long Qt Quick takes to draw.
void setUp();

} // namespace kavrin::Logging
