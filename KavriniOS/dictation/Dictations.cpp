// SPDX-License-Identifier: MIT
#include "dictation/Dictations.h"

#include "dictation/DictationState.h"
#include "store/DictationKeys.h"

#include <algorithm>

namespace kavrin
{

namespace
{

using S = Recorder::S;

constexpr size_t rememberedOutcomes = 16;

} // namespace

void Dictations::add(Recorder &recorder)
{
    m_recorders.removeAll(nullptr);
    m_recorders.append(&recorder);
    connect(&recorder, &Recorder::stateChanged, this, &Dictations::stateChanged);
    connect(&recorder, &Recorder::startingChanged, this, &Dictations::stateChanged);
    connect(&recorder, &Recorder::hearingChanged, this, &Dictations::hearingChanged);
    // Queued, because the pointer is null only then.
    connect(&recorder, &QObject::destroyed, this, &Dictations::stateChanged, Qt::QueuedConnection);
}

Recorder *Dictations::recording() const
{
    Recorder *const recorder = active();
    return recorder != nullptr && recorder->state() == S::recording ? recorder : nullptr;
}

Recorder *Dictations::active() const
{
    return find(
        [](const Recorder &recorder) { return recorder.state() == S::recording || recorder.isStarting(); });
}

Recorder *Dictations::busy() const
{
    Recorder *const recorder = active();
    return recorder != nullptr
        ? recorder
        : find([](const Recorder &transcribing) { return transcribing.state() == S::working; });
}

Recorder *Dictations::find(bool (*matches)(const Recorder &)) const
{
    const auto found = std::ranges::find_if(
        m_recorders, [matches](const auto &recorder) { return recorder && matches(*recorder); });
    return found == m_recorders.end() ? nullptr : found->data();
}

S Dictations::state() const
{
    return recording() != nullptr ? S::recording : isTranscribing() ? S::working : S::idle;
}

void Dictations::close()
{
    m_isClosed = true;
    if (Recorder *const recorder = active(); recorder != nullptr && recorder->isStarting()) {
        recorder->cancel();
    }
}

QString Dictations::activity() const
{
    if (active() != nullptr) {
        return recording() != nullptr ? dictation::recording : dictation::starting;
    }
    return isTranscribing() ? dictation::working : dictation::idle;
}

quint64 Dictations::open()
{
    m_outcomes[++m_latest].start();
    if (m_outcomes.size() > rememberedOutcomes) {
        m_outcomes.erase(m_outcomes.begin());
    }
    return m_latest;
}

void Dictations::conclude(quint64 number, const DictationOutcome &outcome)
{
    if (const auto found = m_outcomes.find(number); found != m_outcomes.end()) {
        found->second.addResult(outcome);
        found->second.finish();
    }
}

std::optional<QFuture<DictationOutcome>> Dictations::outcome(quint64 number) const
{
    const auto found = m_outcomes.find(number);
    return found == m_outcomes.end() ? std::nullopt : std::optional(found->second.future());
}

void Dictations::begin(const std::shared_ptr<Transcription> &transcription)
{
    m_transcriptions.append(transcription);
    Q_EMIT stateChanged();
}

void Dictations::end(const std::shared_ptr<Transcription> &transcription)
{
    m_transcriptions.removeAll(transcription);
    Q_EMIT stateChanged();
}

bool Dictations::giveUpTranscriptions()
{
    bool hasGivenUp = false;
    const auto running = m_transcriptions;
    for (const auto &transcription : running) {
        if (!transcription->isHandingOver) {
            hasGivenUp = transcription->isGivenUp = true;
            transcription->tellRecorder();
            conclude(transcription->dictation, {});
            end(transcription);
        }
    }
    if (hasGivenUp) {
        DictationState::publish(dictation::idle);
        setFailure(Recorder::cancelled());
    }
    return hasGivenUp;
}

} // namespace kavrin
