// SPDX-License-Identifier: MIT
#pragma once

#include "platform/AudioPlayer.h"
#include "platform/AudioRecorder.h"
#include "platform/AudioSession.h"
#include "platform/SystemSound.h"

#include <QCoroFuture>
#include <QFuture>
#include <QPromise>
#include <QStringList>

#include <vector>

namespace kavrin::test
{

/// What the fakes of one test were asked to do, in order.
using Journal = QStringList;

class FakeAudioSession : public AudioSession
{
public:
    explicit FakeAudioSession(Journal &journal) : m_journal(journal) { m_answer.start(); }

    bool permission = true;
    bool answersAtOnce = true; ///< otherwise the question for permission stays open until answer()
    std::optional<Error> categoryFailure;
    std::optional<Error> activationFailure;
    std::optional<QFuture<void>> connected; ///< what activate() waits for
    Options options;

    QCoro::Task<bool> requestRecordPermission(std::stop_token withdrawn) override
    {
        m_journal.append(QStringLiteral("ask permission"));
        if (!answersAtOnce) {
            const QFuture<void> answer = m_answer.future();
            const std::stop_callback onWithdrawn(withdrawn, [this] {
                m_journal.append(QStringLiteral("withdraw question"));
                this->answer();
            });
            co_await qCoro(answer).waitForFinished();
        }
        co_return permission && !withdrawn.stop_requested();
    }

    void answer() { m_answer.finish(); }

    void setCategory(Category, Mode, Options newOptions) override
    {
        m_journal.append(QStringLiteral("set category"));
        options = newOptions;
        if (categoryFailure) {
            throw Error(*categoryFailure);
        }
    }

    QCoro::Task<> activate() override
    {
        m_journal.append(QStringLiteral("activate"));
        if (connected) {
            const QFuture<void> connection = *connected;
            co_await qCoro(connection).waitForFinished();
        }
        if (activationFailure) {
            throw Error(*activationFailure);
        }
    }

private:
    Journal &m_journal;
    QPromise<void> m_answer;
};

class FakeAudioRecorder : public AudioRecorder
{
public:
    explicit FakeAudioRecorder(Journal &journal) : m_journal(journal) { }
    ~FakeAudioRecorder() override { m_journal.append(QStringLiteral("release")); }

    bool firstSamplesCome = true;
    bool holdsSound = true;
    float power = -160;
    bool muted = false;
    std::optional<Error> recordingFailure;
    std::optional<Error> failureAtStop;
    std::optional<QFuture<void>> firstSamples; ///< what record() waits for

    QCoro::Task<bool> record() override
    {
        m_journal.append(QStringLiteral("record"));
        if (firstSamples) {
            const QFuture<void> samples = *firstSamples;
            co_await qCoro(samples).waitForFinished();
        }
        m_isRecording = firstSamplesCome;
        co_return firstSamplesCome;
    }

    void stop() override
    {
        m_journal.append(QStringLiteral("stop"));
        m_isRecording = false;
        if (failureAtStop) {
            recordingFailure.emplace(*failureAtStop);
        }
    }

    [[nodiscard]] bool isRecording() const override { return m_isRecording; }
    [[nodiscard]] bool hasSound() const override { return holdsSound; }
    [[nodiscard]] std::optional<Error> failure() const override { return recordingFailure; }
    bool isMuted() override { return muted; }
    void setMeteringEnabled(bool enabled) override { m_isMetering = enabled; }
    void updateMeters() override { m_measured = m_isMetering ? power : -160; }
    [[nodiscard]] float averagePower(int) const override { return m_measured; }

private:
    Journal &m_journal;
    bool m_isRecording = false;
    bool m_isMetering = false;
    float m_measured = -160;
};

class FakeSystemSound : public SystemSound
{
public:
    explicit FakeSystemSound(Journal &journal) : m_journal(journal) { }

    void play(Id sound) override { m_journal.append(QStringLiteral("sound %1").arg(int(sound))); }

private:
    Journal &m_journal;
};

class FakeAudioPlayer : public AudioPlayer
{
public:
    int loops = 0;
    float volume = 0;
    bool isPrepared = false;
    bool playing = false;

    void setNumberOfLoops(int newLoops) override { loops = newLoops; }
    void setVolume(float newVolume) override { volume = newVolume; }
    void prepareToPlay() override { isPrepared = true; }
    bool play() override { return playing = true; }
    [[nodiscard]] bool isPlaying() const override { return playing; }
};

} // namespace kavrin::test
