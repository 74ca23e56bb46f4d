// SPDX-License-Identifier: MIT
// What a client sends to the loopback server, answered from a suite.
#include "loopback/LoopbackRequest.h"
#include "fuzz/FuzzTarget.h"
#include "loopback/LoopbackAnswer.h"
#include "loopback/LoopbackSender.h"
#include "store/Shared.h"

#include <QJsonDocument>
#include <QUtf8StringView>

#include <cmath>

using namespace kavrin;
using namespace Qt::StringLiterals;
using test::require;

namespace
{

bool isUtf8(const std::string &text)
{
    return QUtf8StringView(text.data(), qsizetype(text.size())).isValidUtf8();
}

void checkRequest(std::string_view received)
{
    const std::optional<LoopbackRequest> request = LoopbackRequest::parse(received);
    if (!request) {
        return;
    }
    require(isUtf8(request->path), "a path is UTF-8");
    for (const auto &[name, value] : request->query) {
        require(isUtf8(name) && isUtf8(value), "a query is UTF-8");
        require(std::isfinite(decimalNumber(value).value_or(0)), "a number is finite");
    }
}

/// Stores what the suite holds before any request.
PropertyListDictionary fillSuite()
{
    const PropertyListDictionary values = {{u"dictationAlive"_s, 1795253400.25},
                                           {u"dictationState"_s, u"done"_s},
                                           {u"transcript"_s, u"\"Ça\u0000 va\\\" 👍"_s},
                                           {u"tStamp"_s, 1795253399.5},
                                           {u"otpCode"_s, u"482913"_s}};
    for (const auto &[key, value] : values) {
        require(!Shared::d().set(key, value), "a value can be stored");
    }
    return values;
}

void checkAnswer(const std::string &answer)
{
    const std::size_t end = answer.find("\r\n\r\n");
    require(answer.starts_with("HTTP/1.1 200 OK\r\n") && end != std::string::npos, "there is an answer");
    const std::string body = answer.substr(end + 4);
    require(answer.find("\r\nContent-Length: " + std::to_string(body.size()) + "\r\n") < end,
            "the length is the body's");
    require(QJsonDocument::fromJson(QByteArray::fromStdString(body)).isObject(), "the body is a JSON object");
    require(body.find("482913") == std::string::npos, "only keys of dictation are read");
}

void checkWrite(const std::optional<LoopbackWrite> &write)
{
    if (!write) {
        return;
    }
    if (write->key == u"tUsed"_s) {
        require(std::holds_alternative<double>(write->value), "\"tUsed\" is a number");
    } else {
        require(write->key == u"dictationCommand"_s, "nothing else is stored");
        const bool isKnown =
            write->value == PropertyListValue(u"start"_s) || write->value == PropertyListValue(u"stop"_s);
        require(isKnown, "a command is one of two");
    }
}

/// The judgement rests on whole headers above the empty line: what follows that changes nothing.
void checkSender(std::string_view received)
{
    const std::string request = std::string(received) + "\r\n\r\n";
    require(loopbackSender(request, request.size()) == loopbackSender(request + "Origin: x\r\n", 0),
            "a body is no header");
}

void checkHarmless(const std::optional<LoopbackRequest> &request)
{
    require(!loopbackWrite(request), "a request without effect stores nothing");
    require(loopbackAnswer(request).find("transcript") == std::string::npos, "and learns nothing");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const PropertyListDictionary suite = fillSuite();
    const std::string_view received(reinterpret_cast<const char *>(data), size);
    checkRequest(received);
    const std::optional<LoopbackRequest> request = LoopbackRequest::parse(received);
    checkWrite(loopbackWrite(request));
    checkAnswer(loopbackAnswer(request));
    checkSender(received);
    checkHarmless(withoutEffect(request));
    require(Shared::d().dictionaryRepresentation().value == suite, "answering stores nothing");
    return 0;
}
