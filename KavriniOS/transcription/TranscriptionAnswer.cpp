// SPDX-License-Identifier: MIT
#include "transcription/TranscriptionAnswer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringConverter>

#include <algorithm>

namespace kavrin
{

namespace
{

using namespace Qt::StringLiterals;

/// Usually this answer comes from a wrong server, or from a server in trouble.
Error answerError(QJsonParseError::ParseError code, const QString &what)
{
    return {
        u"json"_s, code,
        u"The service's answer is %1. Check the service's address and key, or try again later."_s.arg(what)};
}

/// JSON begins with an ASCII character. The positions of the zero bytes beside it show its encoding.
QStringConverter::Encoding encodingOf(const QByteArray &body)
{
    char16_t firstCharacter = 0;
    for (const char byte : body.first(std::min<qsizetype>(body.size(), 4))) {
        if (byte != 0) {
            firstCharacter = static_cast<unsigned char>(byte);
            break;
        }
    }
    return QStringConverter::encodingForData(body, firstCharacter).value_or(QStringConverter::Utf8);
}

QByteArray toUtf8(const QByteArray &body)
{
    const QStringConverter::Encoding encoding = encodingOf(body);
    if (encoding == QStringConverter::Utf8) {
        return body;
    }
    // With a state, the decoder would hold half a character back at the end, for its other half.
    QStringDecoder decode(encoding, QStringConverter::Flag::Stateless);
    const QString text = decode(body);
    if (decode.hasError() || !text.isValidUtf16()) {
        throw answerError(QJsonParseError::IllegalUTF8String,
                          u"not JSON: its characters cannot be decoded"_s);
    }
    return text.toUtf8();
}

QJsonDocument parseJson(const QByteArray &body)
{
    if (body.isEmpty()) {
        throw answerError(QJsonParseError::IllegalValue, u"empty"_s);
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(toUtf8(body), &error);
    if (error.error != QJsonParseError::NoError) {
        throw answerError(error.error,
                          u"not JSON: %1 at byte %2"_s.arg(error.errorString()).arg(error.offset));
    }
    return document;
}

QString textOf(const QByteArray &body)
{
    QStringDecoder decode(QStringDecoder::Utf8);
    const QString text = decode(body);
    return decode.hasError() ? u"bad response"_s : text;
}

/// The trimmed string `value`, or an Error of `domain` that shows `body`.
QString transcript(const QJsonValue &value, const QString &domain, const QByteArray &body)
{
    if (!value.isString()) {
        throw Error(domain, 1, textOf(body));
    }
    return value.toString().trimmed();
}

/// The first element of `value` if that is an array that holds only objects; otherwise none.
QJsonValue firstObject(const QJsonValue &value)
{
    const QJsonArray array = value.toArray();
    const bool onlyObjects =
        std::all_of(array.begin(), array.end(), [](const QJsonValue &element) { return element.isObject(); });
    return onlyObjects ? array.at(0) : QJsonValue(QJsonValue::Undefined);
}

} // namespace

QString multipartTranscript(const QByteArray &body)
{
    const QJsonDocument answer = parseJson(body);
    return transcript(answer[u"text"], u"stt"_s, body);
}

QString geminiTranscript(const QByteArray &body)
{
    const QJsonDocument answer = parseJson(body);
    const QJsonValue candidate = firstObject(answer[u"candidates"]);
    const QJsonValue part = firstObject(candidate[u"content"][u"parts"]);
    return transcript(part[u"text"], u"gemini"_s, body);
}

} // namespace kavrin
