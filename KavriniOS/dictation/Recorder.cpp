// SPDX-License-Identifier: MIT
#include "dictation/Recorder.h"

#include "dictation/DictationError.h"
#include "dictation/DictationSession.h"
#include "dictation/DictationState.h"
#include "dictation/Dictations.h"
#include "dictation/KeptRecordings.h"
#include "platform/FileManager.h"
#include "platform/Logging.h"
#include "store/DictationKeys.h"
#include "store/SuiteWriter.h"

#include <QCoroFuture>
#include <QFile>

#include <algorithm>
#include <chrono>
#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds meterInterval = 50ms;
constexpr std::chrono::milliseconds longestSilence = 3s;

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

/// What the application no longer begins once it ends.
Error isEnding()
{
    return {u"dictation"_s, 1, u"Kavrin is ending."_s};
}

/// Throws Error.
QCoro::Task<QString> transcribe(const Recorder::Platform &platform, const QString &path)
{
    if (platform.dictations.isClosed()) {
        throw isEnding();
    }
    return platform.transcribe(path);
}

/// Empty if the file cannot be read.
QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

QString recordingFailed(const std::exception &error)
{
    return u"Recording failed: "_s + QString::fromUtf8(error.what());
}

} // namespace

Recorder::Recorder(Platform platform, QObject *parent) : QObject(parent), m_platform(std::move(platform))
{
    m_platform.dictations.add(*this);
}

Recorder::~Recorder()
{
    m_question.request_stop();
    if (m_isStarting && m_recorder) {
        m_recorder->stop(); // begin() still holds it, until the first samples have come
    }
    if (m_isStarting || m_state == S::recording) {
        m_platform.dictations.setFailure(cancelled());
        m_platform.dictations.conclude(m_dictation, {});
    }
}

QString Recorder::url()
{
    return FileManager::temporaryDirectory() + u"/dict.m4a"_s;
}

/// Why there can be no recording now, whatever the machine permits.
std::optional<Error> Recorder::obstacle() const
{
    if (m_platform.dictations.isClosed()) {
        return isEnding();
    }
    const Recorder *const active = m_platform.dictations.active();
    if (active != nullptr && active != this) {
        return Error(u"dictation"_s, 2, u"Another recording is running. Stop it and try again."_s);
    }
    return std::nullopt;
}

QCoro::Task<> Recorder::start()
{
    if (m_platform.dictations.isTranscribing()) {
        setMessage(stillTranscribing());
        co_return;
    }
    if (const std::optional<Error> found = obstacle()) {
        fail(found->domain, recordingFailed(*found));
        co_return;
    }
    m_platform.dictations.setFailure({});
    const QPointer<Recorder> self(this);
    DictationError::clear();
    m_dictation = m_platform.dictations.open();
    setStarting(true);
    m_question = std::stop_source();
    const QCoro::Task<> beginning = begin();
    co_await beginning;
    if (!self) {
        co_return;
    }
    setStarting(false);
    const QString failure = m_state == S::recording ? QString() : m_platform.line(m_message);
    m_platform.dictations.setFailure(failure);
    if (m_state != S::recording) {
        m_platform.dictations.conclude(m_dictation, {0, failure});
    }
    const End end = std::exchange(m_end, End::None);
    if (m_state == S::recording && end == End::Stop) {
        stop();
    } else if (m_state == S::recording && end == End::Cancel) {
        cancel();
    }
}

QCoro::Task<> Recorder::begin()
{
    const QPointer<Recorder> self(this);
    const QCoro::Task<bool> permission = m_platform.session.requestRecordPermission(m_question.get_token());
    const bool granted = co_await permission;
    if (!self) {
        co_return;
    }
    if (m_end != End::None) {
        giveUp();
        co_return;
    }
    if (!granted) {
        fail(u"permission"_s, u"Microphone permission denied."_s);
        DictationState::publish(dictation::idle);
        co_return;
    }
    DictationState::publish(dictation::starting);
    const QCoro::Task<bool> preparing = prepare();
    const bool isPrepared = co_await preparing;
    if (!self || !isPrepared) {
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
QCoro::Task<bool> Recorder::prepare()
{
    const QPointer<Recorder> self(this);
    try {
        const QCoro::Task<> activation = activateForDictation(m_platform.session);
        co_await activation;
        if (!self) {
            co_return false;
        }
        m_recorder = m_platform.makeRecorder(url(), AudioRecorderSettings());
    } catch (const std::exception &error) {
        if (self) {
            fail(codeOf(error), recordingFailed(error));
        }
        co_return false;
    }
    m_recorder->setMeteringEnabled(true);
    co_return true;
}

void Recorder::endStart(End end)
{
    m_end = end;
    m_question.request_stop();
}

void Recorder::stop()
{
    if (m_isStarting) {
        endStart(End::Stop);
        return;
    }
    endRecording();
    // Read now, because another recording may be in the file when the transcription fails.
    beginTranscription(
        {.path = url(), .contents = contentsOf(url()), .isKept = false, .emptiness = emptiness()});
}

void Recorder::transcribeAgain(const QString &path)
{
    m_platform.dictations.setFailure({});
    DictationError::clear();
    m_dictation = m_platform.dictations.open();
    beginTranscription({.path = path, .contents = {}, .isKept = true, .emptiness = {}});
}

void Recorder::beginTranscription(Recording recording)
{
    const auto transcription = std::make_shared<Transcription>();
    transcription->dictation = m_dictation;
    transcription->tellRecorder = [self = QPointer(this)] {
        if (self) {
            self->settle(S::idle, cancelled());
        }
    };
    m_platform.dictations.begin(transcription);
    setState(S::working);
    DictationState::publish(dictation::working);
    setMessage(u"Transcribing…"_s);
    finish(this, m_platform, transcription, std::move(recording));
}

void Recorder::cancel()
{
    if (m_isStarting) {
        endStart(End::Cancel);
        return;
    }
    endRecording();
    giveUp();
}

void Recorder::endRecording()
{
    delete m_meter;
    setLevel(0);
    setHearing(Hearing::Sound);
    if (m_recorder) {
        m_recorder->stop();
        checkRecording();
    }
    m_platform.sounds.play(SystemSound::Id::EndRecording);
}

void Recorder::giveUp()
{
    settle(S::idle, cancelled());
    DictationState::publish(dictation::idle);
    m_platform.dictations.setFailure(cancelled());
    m_platform.dictations.conclude(m_dictation, {});
}

void Recorder::settle(S state, const QString &message, bool isFailure)
{
    setState(state);
    setMessage(message, isFailure);
}

QCoro::Task<> Recorder::finish(QPointer<Recorder> recorder, Platform platform,
                               std::shared_ptr<Transcription> transcription, Recording recording)
{
    const BackgroundTasks::Identifier task = platform.backgroundTasks.begin(u"transcribe"_s, [] { });
    Outcome outcome;
    try {
        if (recording.emptiness) {
            throw Error(*recording.emptiness);
        }
        const QCoro::Task<QString> transcribing = transcribe(platform, recording.path);
        outcome.message = co_await transcribing;
        transcription->isHandingOver = !transcription->isGivenUp;
        if (transcription->isHandingOver) {
            const QCoro::Task<Outcome> handingOver = handOver(platform, outcome.message);
            outcome = co_await handingOver;
        }
    } catch (const std::exception &error) {
        logFailure(error);
        outcome.code = codeOf(error);
        outcome.message = outcome.failure = u"Error: "_s + QString::fromUtf8(error.what());
    }
    if (!transcription->isGivenUp) {
        outcome.isKept = keepIfFailed(recording, outcome);
        conclude(recorder, platform, transcription->dictation, outcome);
    }
    platform.backgroundTasks.end(task);
    platform.dictations.end(transcription);
}

/// Whether the recording is kept then.
bool Recorder::keepIfFailed(const Recording &recording, const Outcome &outcome)
{
    if (outcome.isDone) {
        KeptRecordings::remove(recording.path);
        return false;
    }
    return recording.isKept || (!recording.emptiness && KeptRecordings::keep(recording.contents));
}

void Recorder::conclude(Recorder *recorder, const Platform &platform, quint64 dictation,
                        const Outcome &outcome)
{
    if (!outcome.isDone) {
        publishError(platform, outcome.code, outcome.message);
        DictationState::publish(dictation::idle);
    }
    if (recorder != nullptr) {
        recorder->settle(outcome.isDone && !recorder->autoReset ? S::done : S::idle, outcome.message,
                         !outcome.isDone);
    }
    const QString failure = platform.line(outcome.failure);
    platform.dictations.setFailure(failure);
    platform.dictations.conclude(dictation, {outcome.stamp, failure});
    if (!outcome.failure.isEmpty()) {
        platform.reportFailure(outcome.failure, outcome.isKept);
    }
}

/// The state comes last: a keyboard that sees "done" finds the transcript and its stamp. Both are stored
/// together: a stamp without its transcript would make the keyboard insert the previous one.
QCoro::Task<Recorder::Outcome> Recorder::handOver(const Platform &platform, QString transcript)
{
    const double stamp = platform.clock.now();
    const QFuture<std::optional<Error>> written =
        SuiteWriter::write({{dictation::transcriptKey, transcript}, {dictation::stampKey, stamp}});
    const std::optional<Error> failure = co_await written;
    const QCoro::Task<> pasting = platform.pasteboard.setString(transcript);
    co_await pasting;
    Outcome outcome;
    outcome.isDone = true;
    outcome.message = transcript;
    if (!failure) {
        outcome.stamp = stamp;
        DictationState::publish(dictation::done);
        co_return outcome;
    }
    outcome.failure =
        u"Error: the text is on the clipboard only, not at the keyboard: "_s + failure->localizedDescription;
    publishError(platform, failure->domain, outcome.failure);
    DictationState::publish(dictation::idle);
    co_return outcome;
}

void Recorder::startMeter()
{
    m_meter = new QTimer(this);
    connect(m_meter, &QTimer::timeout, this, &Recorder::updateMeter);
    m_meter->start(meterInterval);
    m_silence.start();
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
    updateHearing();
}

void Recorder::updateHearing()
{
    if (m_level > 0 || m_recorder->failure()) {
        m_silence.start();
    }
    // Asked before it is needed, because the answer takes a moment.
    const bool isMuted = m_level == 0 && m_recorder->isMuted();
    const bool isSilent = m_silence.hasExpired(longestSilence.count());
    setHearing(!isSilent ? Hearing::Sound : isMuted ? Hearing::Muted : Hearing::Nothing);
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
    setMessage(message, true);
    publishError(m_platform, code, message);
    m_platform.reportFailure(message, false);
}

void Recorder::setState(S state)
{
    if (m_state != state) {
        qCInfo(Logging::dictation) << "From" << m_state << "to" << state;
        m_state = state;
        Q_EMIT stateChanged();
    }
}

void Recorder::setStarting(bool starting)
{
    if (m_isStarting != starting) {
        m_isStarting = starting;
        Q_EMIT startingChanged();
    }
}

void Recorder::setMessage(const QString &message, bool isFailure)
{
    if (m_message != message || m_hasFailed != isFailure) {
        m_message = message;
        m_hasFailed = isFailure;
        Q_EMIT messageChanged();
    }
}

void Recorder::setHearing(Hearing hearing)
{
    if (m_hearing != hearing) {
        m_hearing = hearing;
        Q_EMIT hearingChanged();
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
