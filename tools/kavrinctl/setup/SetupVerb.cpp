// SPDX-License-Identifier: MIT
#include "platform/Bundle.h"
#include "platform/linux/network/EmbeddedSpeechService.h"
#include "platform/linux/network/NetworkUrlSession.h"
#include "store/MaskedLine.h"
#include "store/Shared.h"
#include "tools/kavrinctl/Await.h"
#include "tools/kavrinctl/Console.h"
#include "tools/kavrinctl/Setting.h"
#include "transcription/Transcriber.h"

#include <algorithm>
#include <array>
#include <variant>
#include <vector>

namespace kavrin::ctl
{

namespace
{

using namespace Qt::StringLiterals;

const QString spoken = u"go forward ten meters"_s; // in sample.m4a

void put(Changes &changes, const QString &key, const QString &text)
{
    std::erase_if(changes, [&](const Change &change) { return change.key == key; });
    changes.push_back({key, enteredValue(findSetting(key), text)});
}

Changes useProvider(const QString &provider)
{
    Changes changes;
    put(changes, u"provider"_s, provider);
    return changes;
}

QString takeModel(QStringList &arguments)
{
    const qsizetype flag = arguments.indexOf(u"--model"_s);
    if (flag < 0) {
        return {};
    }
    const QString model = arguments.value(flag + 1);
    if (model.isEmpty()) {
        throw UsageError{u"--model takes the name of a model."_s};
    }
    arguments.remove(flag, 2);
    return model;
}

void expectWords(const QStringList &arguments, const QStringList &names)
{
    expectNoFlags(arguments);
    expectArguments(arguments, names);
}

/// Throws Refusal.
LocalSpeechService::Started started(LocalSpeechService &service)
{
    try {
        return await(service.start());
    } catch (const Error &error) {
        throw Refusal{error.localizedDescription};
    }
}

Changes embedded(QStringList &arguments)
{
    expectWords(arguments, {});
    EmbeddedSpeechService service;
    const auto [atEachLogin, process] = started(service);
    const QString runs =
        process == 0 ? u"kavrin-stt runs already."_s : u"kavrin-stt runs as process %1."_s.arg(process);
    print(atEachLogin ? u"kavrin-stt runs, now and after each login."_s
                      : runs + u" Nothing starts it at the next login."_s);
    return choosing(service.address());
}

Changes server(QStringList &arguments)
{
    const QString model = takeModel(arguments);
    const bool hasKey = takeFlag(arguments, u"--key"_s);
    expectWords(arguments, {u"URL"_s});
    const PropertyListValue address = enteredValue(findSetting(u"customURL"_s), arguments.first());
    Changes changes = choosing(std::get<QString>(address));
    if (!model.isEmpty()) {
        put(changes, u"customModel"_s, model);
    }
    if (hasKey) {
        put(changes, u"customKey"_s, askForValue(u"customKey"_s));
    }
    return changes;
}

Changes openai(QStringList &arguments)
{
    expectWords(arguments, {});
    Changes changes = useProvider(u"openai"_s);
    put(changes, u"openaiKey"_s, askForValue(u"openaiKey"_s));
    return changes;
}

/// The model that the window shows is stored, too: without any, an older one would be used.
Changes gemini(QStringList &arguments)
{
    expectWords(arguments, {});
    Changes changes = useProvider(u"gemini"_s);
    changes.push_back({u"geminiModel"_s, Prefs::get<QString>(u"geminiModel"_s)});
    put(changes, u"geminiKey"_s, askForValue(u"geminiKey"_s));
    return changes;
}

/// A service by the word for it. `changes` makes the settings choose it.
struct Choice {
    const char *name;
    Changes (*changes)(QStringList &arguments);
};

constexpr std::array choices = {Choice{"embedded", embedded}, Choice{"server", server},
                                Choice{"openai", openai}, Choice{"gemini", gemini}};

const Choice &takeChoice(QStringList &arguments)
{
    expectArguments(arguments, {u"embedded, server, openai or gemini"_s}, arguments.size());
    const QString name = arguments.takeFirst();
    const auto *choice =
        std::ranges::find_if(choices, [&](const Choice &known) { return name == QLatin1String(known.name); });
    if (choice == choices.end()) {
        throw UsageError{u"There is no service \"%1\"."_s.arg(name)};
    }
    return *choice;
}

QString addressOf(const SpeechService &service)
{
    const auto *multipart = std::get_if<MultipartService>(&service);
    return multipart ? multipart->endpoint : u"https://"_s + std::get<GeminiService>(service).host;
}

QString keyOf(const SpeechService &service)
{
    const auto *multipart = std::get_if<MultipartService>(&service);
    return multipart ? multipart->token : std::get<GeminiService>(service).key;
}

/// Why the service did not understand, with what to do.
QString explained(const Error &error, const SpeechService &service)
{
    const std::pair<QString, QString> advice[] = {
        {u"cfg"_s, u"Give the whole address, such as http://127.0.0.1:8080/v1/audio/transcriptions."_s},
        {u"network"_s, u"Start the service, or check the address and the network."_s},
    };
    const auto *found = std::ranges::find(advice, error.domain, &std::pair<QString, QString>::first);
    const QString key = keyOf(service);
    const QStringList secrets = key.isEmpty() ? keysInForce() : keysInForce() + QStringList{key};
    return maskedLine(error.localizedDescription, secrets) + u' '
        + (found == std::end(advice) ? u"Check key, model and address."_s : found->second);
}

/// Sends the sample. Returns why the service did not understand it; none if it did.
std::optional<QString> tryOut(const SpeechService &service)
{
    const std::optional<QString> sample = Bundle::resourcePath(u"sample"_s, u"m4a"_s);
    if (!sample) {
        return u"The sample of speech is missing. Install Kavrin whole."_s;
    }
    print(u"Sends three seconds of recorded speech, none of it yours, to %1"_s.arg(addressOf(service)));
    NetworkUrlSession session;
    try {
        const QString heard = await(Transcriber::transcribeWith(service, *sample, session));
        if (heard.isEmpty()) {
            return u"The service answers, but heard nothing in the sample. Check the model."_s;
        }
        print(u"Spoken: %1"_s.arg(spoken));
        print(u"Heard:  %1"_s.arg(heard));
        return std::nullopt;
    } catch (const Error &error) {
        return explained(error, service);
    }
}

bool removesKey(const Changes &changes)
{
    return std::ranges::any_of(changes, [](const Change &change) {
        return change.key == u"customKey" && !change.value
            && !Shared::d().string(change.key).value_or(QString()).isEmpty();
    });
}

void store(const Changes &changes)
{
    const bool hadKey = removesKey(changes);
    expectNoFailure(Prefs::store(changes), u"The settings could not be stored"_s);
    print(u"Kavrin uses this service from now on."_s);
    if (hadKey) {
        print(u"The key of the server before it was removed."_s);
    }
}

} // namespace

void setup(QStringList &arguments)
{
    const bool keeps = takeFlag(arguments, u"--keep"_s);
    const Choice &choice = takeChoice(arguments);
    expectReadableSettings();
    const Changes changes = choice.changes(arguments);
    const std::optional<QString> failure = tryOut(chosenService(changes));
    if (failure && !keeps) {
        throw Refusal{*failure + u"\nThe settings are as they were."_s};
    }
    store(changes);
    if (failure) {
        throw Refusal{*failure};
    }
}

} // namespace kavrin::ctl
