// SPDX-License-Identifier: MIT
#include "screens/start/GetStarted.h"

#include "store/DictationKeys.h"
#include "store/Prefs.h"
#include "store/Shared.h"
#include "transcription/SpeechService.h"

#include <QCoroFuture>
#include <QPointer>
#include <QUrl>

#include <chrono>
#include <tuple>
#include <variant>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

/// In the application's own defaults.
const QString dismissedKey = u"getStartedDismissed"_s;

constexpr std::chrono::seconds moment(1);

/// Where the recordings go.
QString hostOf(const SpeechService &service)
{
    const auto *multipart = std::get_if<MultipartService>(&service);
    return multipart ? QUrl(multipart->endpoint).host() : std::get<GeminiService>(service).host;
}

QString addressOf(const SpeechService &service)
{
    const auto *multipart = std::get_if<MultipartService>(&service);
    return multipart ? multipart->endpoint : QString();
}

/// What is read as a name of keys is no sentence.
bool isSentence(const QString &text)
{
    return text.endsWith(u'.');
}

/// Whether a text of a dictation was taken by a key that types, or by a keyboard.
bool wasTextTaken()
{
    return Shared::d().object(dictation::usedKey).has_value();
}

} // namespace

GetStarted::GetStarted(LocalSpeechService &local, TypingKey &typing, Pasteboard &pasteboard, QObject *parent)
    : QObject(parent), m_local(local), m_typing(typing), m_pasteboard(pasteboard)
{
    for (const StartStep *step : {&m_service, &m_key, &m_trial}) {
        connect(step, &StartStep::changed, this, &GetStarted::changed);
    }
    m_later.setSingleShot(true);
    m_later.setInterval(moment);
    connect(&m_later, &QTimer::timeout, this, &GetStarted::look);
}

bool GetStarted::isDismissed() const
{
    return m_isDismissed || UserDefaults::standard().object(dismissedKey).has_value();
}

bool GetStarted::isDone() const
{
    return m_service.isDone() && m_key.isDone() && m_trial.isDone();
}

void GetStarted::open()
{
    m_isOpen = true;
    m_isKeyKnown = false;
    setShown(false);
    if (!isDismissed()) {
        look();
    }
}

void GetStarted::close()
{
    m_isOpen = false;
    m_later.stop();
    setShown(false);
}

void GetStarted::refresh()
{
    if (isShown()) {
        look();
        m_later.start();
    }
}

void GetStarted::look()
{
    if (!m_service.isBusy()) {
        showService(m_service.problem());
    }
    showTrial();
    if (!m_isKeyKnown && !m_key.isBusy()) {
        showKey({});
    }
    decide();
    lookForKey();
}

/// A card that was shown stays, so that the user sees that all is done.
void GetStarted::decide()
{
    const bool isLeft = !m_service.isDone() || !m_trial.isDone() || (m_isKeyKnown && !m_key.isDone());
    if (isLeft && m_isOpen && !isDismissed()) {
        setShown(true);
    }
}

void GetStarted::showService(const QString &problem)
{
    StartStep::State state;
    state.title = tr("Choose who turns speech into text");
    state.text =
        tr("This machine can: US English only, without account, and nothing leaves it. OpenAI and Gemini "
           "know many languages, and need a key.");
    state.problem = problem;
    try {
        const SpeechService service = chosenService();
        if (missingFrom(service).isEmpty()) {
            const bool isLocal = addressOf(service) == m_local.address();
            state = {.isDone = true,
                     .title = tr("Speech becomes text"),
                     .text = isLocal ? tr("On this machine, in US English. Nothing leaves it.")
                                     : tr("Recordings go to %1.").arg(hostOf(service))};
        }
    } catch (const Error &error) {
        state.problem = error.localizedDescription;
    }
    m_service.show(state);
}

void GetStarted::showKey(const QString &name)
{
    const bool hasKeys = !name.isEmpty() && !isSentence(name);
    const QString use =
        tr("Press it in any window, speak, press it again: the text stands where the cursor is.");
    StartStep::State state;
    state.isDone = hasKeys || wasTextTaken();
    state.title = hasKeys ? tr("%1 types what you say").arg(name)
        : state.isDone    ? tr("A key types what you say")
                          : tr("Get a key that types what you say");
    state.text = state.isDone || name.isEmpty() ? use : name;
    m_needsCommand = !state.isDone && !name.isEmpty();
    m_key.show(state);
}

void GetStarted::showTrial()
{
    const bool hasText = Shared::d().object(dictation::stampKey).has_value();
    m_trial.show({.isDone = hasText,
                  .title = hasText ? tr("You have dictated") : tr("Try it"),
                  .text = hasText ? tr("The text of each dictation is on the clipboard, too.")
                                  : tr("Speak, press Stop, and read what was understood.")});
}

QCoro::Task<> GetStarted::lookForKey()
{
    if (m_isAskingForKey) {
        co_return;
    }
    const QPointer self(this);
    m_isAskingForKey = true;
    const QCoro::Task<QString> asking = m_typing.name();
    const QString name = co_await asking;
    if (!self) {
        co_return;
    }
    m_isAskingForKey = false;
    m_isKeyKnown = true;
    if (!m_key.isBusy()) {
        showKey(name);
    }
    decide();
}

void GetStarted::useThisMachine()
{
    if (!m_service.isBusy()) {
        chooseService();
    }
}

/// Returns why the settings do not choose it.
QCoro::Task<std::optional<Error>> GetStarted::startService()
{
    const QString address = m_local.address();
    try {
        const QCoro::Task<LocalSpeechService::Started> starting = m_local.start();
        co_await starting;
    } catch (const Error &error) {
        co_return error;
    }
    const QFuture<std::optional<Error>> written = Prefs::submit(choosing(address));
    co_return co_await written;
}

QCoro::Task<> GetStarted::chooseService()
{
    const QPointer self(this);
    m_service.show({.isBusy = true,
                    .title = tr("Starting the service on this machine…"),
                    .text = tr("This may take some seconds.")});
    const QCoro::Task<std::optional<Error>> starting = startService();
    const std::optional<Error> failure = co_await starting;
    if (!self) {
        co_return;
    }
    showService(failure ? failure->localizedDescription : QString());
    if (!failure) {
        Q_EMIT serviceChosen();
    }
}

void GetStarted::setUpKey()
{
    if (!m_key.isBusy()) {
        startKey();
    }
}

QCoro::Task<> GetStarted::startKey()
{
    const QPointer self(this);
    m_key.show({.isBusy = true,
                .title = tr("Asking the desktop for a key…"),
                .text = tr("It may ask you which one.")});
    const QCoro::Task<QString> starting = m_typing.setUp();
    const QString name = co_await starting;
    if (self) {
        showKey(name);
    }
}

void GetStarted::copyCommand()
{
    m_pasteboard.setString(m_typing.command());
}

void GetStarted::dismiss()
{
    setShown(false);
    m_isDismissed = true;
    // Nobody is told of a failure: the card comes again after the next start.
    std::ignore = UserDefaults::standard().write({{dismissedKey, true}},
                                                 QDeadlineTimer(UserDefaults::mainThreadPatience));
}

void GetStarted::setShown(bool shown)
{
    if (m_isShown != shown) {
        m_isShown = shown;
        Q_EMIT shownChanged();
    }
}

} // namespace kavrin
