// SPDX-License-Identifier: MIT
#include "transcription/Transcriber.h"

#include "platform/Logging.h"
#include "transcription/TranscriptionAnswer.h"

#include <QFile>
#include <QUuid>

#include <utility>
#include <variant>

namespace kavrin
{

namespace
{

using namespace Qt::StringLiterals;

QByteArray readRecording(const QString &path, const RecordingCheck &check)
{
    QFile file(path);
    if (file.open(QFile::ReadOnly)) {
        QByteArray audio = file.readAll();
        if (file.error() == QFile::NoError) {
            if (check) {
                check(audio);
            }
            return audio;
        }
    }
    throw Error(u"file"_s, file.error(),
                u"The recording %1 could not be read: %2."_s.arg(path, file.errorString()));
}

UrlRequest requestFor(const SpeechService &service, const QByteArray &audio)
{
    if (const auto *gemini = std::get_if<GeminiService>(&service)) {
        return transcriptionRequest(*gemini, audio);
    }
    const QString boundary = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    return transcriptionRequest(std::get<MultipartService>(service), boundary, audio);
}

QString transcriptFrom(const SpeechService &service, const QByteArray &body)
{
    return std::holds_alternative<GeminiService>(service) ? geminiTranscript(body)
                                                          : multipartTranscript(body);
}

} // namespace

QCoro::Task<QString> Transcriber::transcribe(QString filePath, UrlSession &session, RecordingCheck check)
{
    const QCoro::Task<QString> transcription =
        transcribeWith(chosenService(), std::move(filePath), session, std::move(check));
    co_return co_await transcription;
}

QCoro::Task<QString> Transcriber::transcribeWith(SpeechService service, QString filePath, UrlSession &session,
                                                 RecordingCheck check)
{
    // The recording is released here, before the exchange begins. The request holds a copy.
    UrlRequest request = requestFor(service, readRecording(filePath, check));
    qCInfo(Logging::transcription) << "Sending" << request.body.size() << "bytes";
    const QCoro::Task<QByteArray> exchange = session.data(std::move(request));
    const QByteArray body = co_await exchange;
    qCInfo(Logging::transcription) << "Received" << body.size() << "bytes";
    co_return transcriptFrom(service, body);
}

} // namespace kavrin
