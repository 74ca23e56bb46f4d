// SPDX-License-Identifier: MIT
#pragma once

#include "platform/LocalSpeechService.h"
#include "platform/TypingKey.h"

#include <QCoroFuture>
#include <QFuture>
#include <QPromise>

#include <optional>

namespace kavrin::test
{

/// A speech service that starts when the test says so.
class FakeLocalSpeechService : public LocalSpeechService
{
public:
    FakeLocalSpeechService() { m_starting.start(); }

    int starts = 0;
    std::optional<Error> failure;

    [[nodiscard]] QString address() const override
    {
        return QStringLiteral("http://127.0.0.1:49732/v1/audio/transcriptions");
    }

    QCoro::Task<Started> start() override
    {
        ++starts;
        const QFuture<void> started = m_starting.future();
        co_await qCoro(started).waitForFinished();
        if (failure) {
            throw Error(*failure);
        }
        co_return Started{.atEachLogin = true};
    }

    void settle() { m_starting.finish(); }

private:
    QPromise<void> m_starting;
};

/// A key that is what the test says.
class FakeTypingKey : public TypingKey
{
public:
    QString keys; ///< empty while its program does not run
    int asked = 0; ///< how often name() was
    QString keysOnceStarted = QStringLiteral("Ctrl+Alt+D");

    QCoro::Task<QString> name() override
    {
        ++asked;
        co_return QString(keys); // QCoro moves what it is given
    }

    QCoro::Task<QString> setUp() override
    {
        keys = keysOnceStarted;
        co_return QString(keys); // QCoro moves what it is given
    }

    [[nodiscard]] QString command() const override { return QStringLiteral("kavrinctl type toggle"); }
};

} // namespace kavrin::test
