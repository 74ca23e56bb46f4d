// SPDX-License-Identifier: MIT
#include "transcription/Transcriber.h"

#include "platform/Logging.h"
#include "platform/PropertyList.h"
#include "store/Shared.h"
#include "transcription/TranscriptionAnswer.h"
#include "transcription/TranscriptionRequest.h"

#include <QFile>
#include <QUuid>

#include <optional>

namespace kavrin
{

namespace
{

using namespace Qt::StringLiterals;

/// Not through Prefs: a setting that was never written has other defaults here than in the catalogue. One
/// that cannot be read has none: the recording would go to a service that the user did not choose. Throws
/// Error.
QString setting(const QString &key, const QString &fallback = {})
{
    const auto [stored, failure] = Shared::d().read(key);
    if (failure) {
        throw Error(*failure);
    }
    return (stored ? PropertyList::toText(*stored) : std::nullopt).value_or(fallback);
}

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

MultipartService openaiService()
{
    return {u"https://" KAVRIN_OPENAI_HOST "/v1/audio/transcriptions"_s, setting(u"openaiKey"_s),
            setting(u"openaiModel"_s, u"gpt-4o-mini-transcribe"_s)};
}

MultipartService customService()
{
    return {setting(u"customURL"_s), setting(u"customKey"_s), setting(u"customModel"_s, u"whisper-1"_s)};
}

GeminiService geminiService()
{
    return {QStringLiteral(KAVRIN_GEMINI_HOST), setting(u"geminiModel"_s, u"gemini-2.5-flash"_s),
            setting(u"geminiKey"_s)};
}

UrlRequest requestFor(const QString &provider, const QByteArray &audio)
{
    if (provider == "gemini"_L1) {
        return transcriptionRequest(geminiService(), audio);
    }
    const QString boundary = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    return transcriptionRequest(provider == "custom"_L1 ? customService() : openaiService(), boundary, audio);
}

QString transcriptFrom(const QString &provider, const QByteArray &body)
{
    return provider == "gemini"_L1 ? geminiTranscript(body) : multipartTranscript(body);
}

} // namespace

QCoro::Task<QString> Transcriber::transcribe(QString filePath, UrlSession &session, RecordingCheck check)
{
    const QString provider = setting(u"provider"_s, u"openai"_s);
    // The recording is released here, before the exchange begins. The request holds a copy.
    UrlRequest request = requestFor(provider, readRecording(filePath, check));
    qCInfo(Logging::transcription) << "Sending" << request.body.size() << "bytes";
    const QCoro::Task<QByteArray> exchange = session.data(std::move(request));
    const QByteArray body = co_await exchange;
    qCInfo(Logging::transcription) << "Received" << body.size() << "bytes";
    co_return transcriptFrom(provider, body);
}

} // namespace kavrin
