// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UrlSession.h"
#include "transcription/SpeechService.h"

#include <QCoroTask>
#include <QString>

#include <functional>

namespace kavrin
{

/// Throws if a recording must not be sent.
using RecordingCheck = std::function<void(const QByteArray &recording)>;

/// The client of the speech-to-text services. It has no state: calls share nothing and may overlap.
struct Transcriber {
    /// Sends the recording in the file `filePath` (AAC in an MPEG-4 container) to the service that the shared
    /// settings choose, and returns the text without white space around it. Every call reads the settings
    /// again. A `check` sees the recording before anything is sent, and what it throws is passed on.
    ///
    /// Throws Error of the domain
    /// - "file": the recording cannot be read; nothing was sent
    /// - "cfg": the address of the service is not valid; nothing was sent
    /// - "network": the exchange failed
    /// - "json": the answer is not JSON (RFC 8259)
    /// - "stt", "gemini": the answer holds no text. The description is the answer.
    ///
    /// Main thread only; `session` must outlive the task.
    static QCoro::Task<QString> transcribe(QString filePath, UrlSession &session, RecordingCheck check = {});

    /// Like transcribe(), with any service, whatever the settings choose.
    static QCoro::Task<QString> transcribeWith(SpeechService service, QString filePath, UrlSession &session,
                                               RecordingCheck check = {});
};

} // namespace kavrin
