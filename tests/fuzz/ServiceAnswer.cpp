// SPDX-License-Identifier: MIT
// What a speech service answers, or whoever else sits at the other end.
#include "fuzz/FuzzTarget.h"
#include "transcription/TranscriptionAnswer.h"

using namespace kavrin;
using test::require;

namespace
{

void check(QString (*transcript)(const QByteArray &), QStringView domain, const QByteArray &body)
{
    try {
        const QString text = transcript(body);
        require(text == text.trimmed(), "a transcript has no white space round it");
    } catch (const Error &error) {
        const bool isOwn = error.domain == domain;
        require(isOwn || error.domain == u"json", "an error has one of two domains");
        require(!error.localizedDescription.isEmpty(), "an error has a description");
        require(!isOwn || error.localizedDescription == u"bad response"
                    || error.localizedDescription == QString::fromUtf8(body),
                "an error of the service shows what it said");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray body(reinterpret_cast<const char *>(data), qsizetype(size));
    check(&multipartTranscript, u"stt", body);
    check(&geminiTranscript, u"gemini", body);
    return 0;
}
