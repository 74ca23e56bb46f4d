// SPDX-License-Identifier: MIT
#include "platform/linux/network/NetworkUrlSession.h"
#include "store/MaskedLine.h"
#include "store/Shared.h"
#include "tools/kavrinctl/Await.h"
#include "tools/kavrinctl/doctor/Checks.h"
#include "transcription/ModelList.h"

#include <QUrl>

namespace kavrin::ctl
{

namespace
{

using namespace Qt::StringLiterals;

const QString setUp = u"Choose one: \"kavrinctl setup embedded\" needs neither account nor network."_s;

/// Whether the service is OpenAI or Gemini, whose answers are known.
bool isPublic()
{
    return Shared::d().string(u"provider"_s) != u"custom";
}

QString masked(const QString &message)
{
    return maskedLine(message, keysInForce());
}

Finding judge(const QString &host, const QByteArray &answer)
{
    if (isModelList(answer)) {
        return good(u"%1 answers. No sound was sent."_s.arg(host));
    }
    const QString refusal = u"%1 answers: %2"_s.arg(host, masked(QString::fromUtf8(answer)));
    return isPublic() ? bad(refusal, u"Check key and account."_s)
                      : notChecked(refusal, u"It has no list of models, so try it: dictate."_s);
}

Finding askForModels(UrlRequest request)
{
    const QString host = QUrl::fromEncoded(request.url).host();
    request.timeout = std::chrono::seconds(10);
    NetworkUrlSession session;
    try {
        return judge(host, await(session.data(std::move(request))));
    } catch (const Error &error) {
        return bad(masked(error.localizedDescription), u"Start the service, or check its address."_s);
    }
}

} // namespace

Finding checkSpeechService()
{
    const SpeechService service = chosenService();
    if (const QString missing = missingFrom(service); !missing.isEmpty()) {
        return bad(missing, setUp);
    }
    std::optional<UrlRequest> request = modelListRequest(service);
    return request ? askForModels(*std::move(request))
                   : notChecked(u"The service has no list of models that could be asked for without sound."_s,
                                u"Try it: dictate."_s);
}

} // namespace kavrin::ctl
