// SPDX-License-Identifier: MIT
#include "dictation/Recorder.h"

#include "dictation/DictationError.h"
#include "dictation/DictationSession.h"
#include "dictation/DictationState.h"
#include "platform/FileManager.h"
#include "platform/Logging.h"
#include "store/DictationKeys.h"
#include "store/SuiteWriter.h"

#include <QCoroFuture>

#include <algorithm>
#include <chrono>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds meterInterval = 50ms;

const QString listening = u"Listening… tap the keyboard mic again to stop."_s;

/// -50 dB and below gives 0, full scale gives 1.
double levelOf(float decibels)
{
    return double(std::clamp((decibels + 50.0F) / 50.0F, 0.0F, 1.0F));
}

/// One word: an error's domain.
QString codeOf(const std::exception &failure)
{
    const auto *const error = dynamic_cast<const Error *>(&failure);
    return error ? error->domain : u"other"_s;
}

/// Leaves out the description, which may be a service's answer.
void logFailure(const std::exception &failure)
{
    const auto *const error = dynamic_cast<const Error *>(&failure);
    qCInfo(Logging::dictation) << "Transcription failed:" << codeOf(failure) << (error ? error->code : 0);
}

void publishError(const Recorder::Platform &platform, const QString &code, const QString &message)
{
    DictationError::publish(code, platform.line(message), platform.clock.now());
}

QString recordingFailed(const std::exception &error)
{
    return u"Recording failed: "_s + QString::fromUtf8(error.what());
}

} // namespace

Recorder::Recorder(Platform platform, QObject *parent) : QObject(parent), m_platform(std::move(platform)) { }

QString Recorder::url()
{
    return FileManager::temporaryDirectory() + u"/dict.m4a"_s;
}

QCoro::Task<> Recorder::start()
{
    const QPointer<Recorder> self(this);
    DictationError::clear();
    const QCoro::Task<bool> permission = m_platform.session.requestRecordPermission();
    const bool granted = co_await permission;
    if (!self) {
        co_return;
    }
    if (!granted) {
        fail(u"permission"_s, u"Microphone permission denied."_s);
        DictationState::publish(dictation::idle);
        co_return;
    }
    DictationState::publish(dictation::starting);
    if (!prepare()) {
        co_return;
    }
    m_platform.sounds.play(SystemSound::Id::BeginRecording);
    const std::shared_ptr<AudioRecorder> recorder = m_recorder;
    const QCoro::Task<bool> firstSamples = recorder->record();
    co_await firstSamples;
    if (!self) {
        co_return;
    }
    setState(S::recording);
    DictationState::publish(dictation::recording);
    setMessage(listening);
    startMeter();
}

/// Activates the session and makes a recorder for the file. False if that fails; the message then has the
/// reason.
bool Recorder::prepare()
{
    try {
        activateForDictation(m_platform.session);
        m_recorder = m_platform.makeRecorder(url(), AudioRecorderSettings());
    } catch (const std::exception &error) {
        fail(codeOf(error), recordingFailed(error));
        return false;
    }
    m_recorder->setMeteringEnabled(true);
    return true;
}

void Recorder::stop()
{
    delete m_meter;
    setLevel(0);
    if (m_recorder) {
        m_recorder->stop();
        checkRecording();
    }
    m_platform.sounds.play(SystemSound::Id::EndRecording);
    setState(S::working);
    DictationState::publish(dictation::working);
    setMessage(u"Transcribing…"_s);
    const BackgroundTasks::Identifier task = m_platform.backgroundTasks.begin(u"transcribe"_s, [] { });
    finish(this, m_platform, task, emptiness());
}

QCoro::Task<> Recorder::finish(QPointer<Recorder> recorder, Platform platform,
                               BackgroundTasks::Identifier task, std::optional<Error> emptiness)
{
    S state = S::idle;
    QString message;
    QString failure;
    try {
        if (emptiness) {
            throw Error(*emptiness);
        }
        const QCoro::Task<QString> transcription = platform.transcribe(url());
        message = co_await transcription;
        const QCoro::Task<QString> handingOver = handOver(platform, message);
        failure = co_await handingOver;
        state = recorder && !recorder->autoReset ? S::done : S::idle;
    } catch (const std::exception &error) {
        logFailure(error);
        message = u"Error: "_s + QString::fromUtf8(error.what());
        publishError(platform, codeOf(error), message);
        DictationState::publish(dictation::idle);
        failure = message;
    }
    if (recorder) {
        recorder->setState(state);
        recorder->setMessage(message);
    }
    if (!failure.isEmpty()) {
        platform.reportFailure(failure);
    }
    platform.backgroundTasks.end(task);
}

/// The state comes last: a keyboard that sees "done" finds the transcript and its stamp. Both are stored
/// together: a stamp without its transcript would make the keyboard insert the previous one. Resumes with
/// what went wrong, or with nothing.
QCoro::Task<QString> Recorder::handOver(const Platform &platform, QString transcript)
{
    const QFuture<std::optional<Error>> written = SuiteWriter::write(
        {{dictation::transcriptKey, transcript}, {dictation::stampKey, platform.clock.now()}});
    const std::optional<Error> failure = co_await written;
    const QCoro::Task<> pasting = platform.pasteboard.setString(transcript);
    co_await pasting;
    if (!failure) {
        DictationState::publish(dictation::done);
        co_return QString();
    }
    const QString message =
        u"Error: the text is on the clipboard only, not at the keyboard: "_s + failure->localizedDescription;
    publishError(platform, failure->domain, message);
    DictationState::publish(dictation::idle);
    co_return message;
}

void Recorder::startMeter()
{
    m_meter = new QTimer(this);
    connect(m_meter, &QTimer::timeout, this, &Recorder::updateMeter);
    m_meter->start(meterInterval);
}

void Recorder::updateMeter()
{
    // If a new recording replaces one, the meter of the old one still runs after the stop.
    if (m_state == S::recording) {
        checkRecording();
    }
    if (!m_recorder || !m_recorder->isRecording()) {
        return;
    }
    m_recorder->updateMeters();
    setLevel(levelOf(m_recorder->averagePower(0)));
}

/// Reports a failure at once, while the user still speaks and can react. Sound that comes late ends it.
void Recorder::checkRecording()
{
    const std::optional<Error> failure = m_recorder ? m_recorder->failure() : std::nullopt;
    const bool isNew = failure && m_message != recordingFailed(*failure);
    if (isNew) {
        fail(failure->domain, recordingFailed(*failure));
    } else if (!failure && m_state == S::recording) {
        setMessage(listening);
    }
}

/// Why there is no sound to transcribe. None if there is some, or if this recorder has not recorded. A
/// recording without sound is not sent, because services invent words from silence.
std::optional<Error> Recorder::emptiness() const
{
    if (!m_recorder || m_recorder->hasSound()) {
        return std::nullopt;
    }
    const Error nothing(u"audio"_s, 6,
                        u"Nothing was recorded, because no sound came from the microphone. Check that one "
                        "is connected, then try again."_s);
    return m_recorder->failure().value_or(nothing);
}

void Recorder::fail(const QString &code, const QString &message)
{
    setMessage(message);
    publishError(m_platform, code, message);
    m_platform.reportFailure(message);
}

void Recorder::setState(S state)
{
    if (m_state != state) {
        qCInfo(Logging::dictation) << "From" << m_state << "to" << state;
        m_state = state;
        Q_EMIT stateChanged();
    }
}

void Recorder::setMessage(const QString &message)
{
    if (m_message != message) {
        m_message = message;
        Q_EMIT messageChanged();
    }
}

void Recorder::setLevel(double level)
{
    if (m_level != level) {
        m_level = level;
        Q_EMIT levelChanged();
    }
}

} // namespace kavrin
