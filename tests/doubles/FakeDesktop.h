// SPDX-License-Identifier: MIT
#pragma once

#include "doubles/FakeAudio.h"
#include "platform/BackgroundTasks.h"
#include "platform/Pasteboard.h"

#include <functional>

namespace kavrin::test
{

class FakePasteboard : public Pasteboard
{
public:
    explicit FakePasteboard(Journal &journal) : m_journal(journal) { m_serving.start(); }

    QString string;
    bool isSecret = false;
    std::function<void()> onSet = [] { }; ///< called with each new text, before it is there
    bool servesAtOnce = true; ///< otherwise nobody can read the text until serve()

    QCoro::Task<> setString(QString text) override
    {
        set(text, false);
        if (!servesAtOnce) {
            const QFuture<void> serving = m_serving.future();
            co_await qCoro(serving).waitForFinished();
        }
    }

    void serve() { m_serving.finish(); }

    void setSecret(const QString &text) override { set(text, true); }
    QCoro::Task<QString> text() override { co_return string; }

private:
    void set(const QString &text, bool secret)
    {
        m_journal.append(QStringLiteral("paste"));
        onSet();
        string = text;
        isSecret = secret;
    }

    Journal &m_journal;
    QPromise<void> m_serving;
};

class FakeBackgroundTasks : public BackgroundTasks
{
public:
    explicit FakeBackgroundTasks(Journal &journal) : m_journal(journal) { }

    Identifier begin(const QString &name, std::function<void()> expirationHandler) override
    {
        m_journal.append(QStringLiteral("begin %1").arg(name));
        expire = std::move(expirationHandler);
        return ++m_last;
    }

    void end(Identifier task) override { m_journal.append(QStringLiteral("end %1").arg(task)); }

    std::function<void()> expire;

private:
    Journal &m_journal;
    Identifier m_last = 0;
};

} // namespace kavrin::test
