// SPDX-License-Identifier: MIT
#include "tools/typist/Typist.h"

#include "platform/Logging.h"

#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

using Action = DictationKey::Action;

Typist::Typist(TypedDictation::Platform platform) : m_platform(std::move(platform))
{
    m_platform.isKeyHeld = [this] { return m_key.isHeld(now()); };
    m_time.start();
}

DictationKey::Time Typist::now() const
{
    return DictationKey::Time(m_time.elapsed());
}

QCoro::Task<std::optional<Error>> Typist::press()
{
    return perform(m_key.press(now()));
}

QCoro::Task<std::optional<Error>> Typist::toggle()
{
    return perform(m_key.toggle());
}

void Typist::release()
{
    perform(m_key.release(now()));
}

void Typist::cancel()
{
    perform(m_key.cancel());
}

QCoro::Task<std::optional<Error>> Typist::perform(Action action)
{
    if (action == Action::Begin) {
        const QCoro::Task<std::optional<Error>> beginning = begin();
        std::optional<Error> failure = co_await beginning;
        if (failure) {
            tell(*failure);
        }
        co_return failure;
    }
    if (m_dictation && action == Action::End) {
        m_dictation->end();
    } else if (m_dictation && action == Action::Cancel) {
        m_dictation->cancel();
    }
    co_return std::nullopt;
}

QCoro::Task<std::optional<Error>> Typist::begin()
{
    if (m_dictation) {
        m_key.over();
        co_return Error(u"typist"_s, 1,
                        u"The last dictation is not over yet. Try again when its text stands."_s);
    }
    const auto dictation = std::make_shared<TypedDictation>(m_platform);
    m_dictation = dictation;
    std::optional<Error> failure;
    try {
        const QCoro::Task<> beginning = dictation->begin();
        co_await beginning;
    } catch (const Error &error) {
        failure = error;
    }
    if (failure) {
        setOver();
    } else {
        finish(dictation); // not awaited: the user may speak for as long as they like
    }
    co_return failure;
}

QCoro::Task<> Typist::finish(std::shared_ptr<TypedDictation> dictation)
{
    try {
        const QCoro::Task<> finishing = dictation->finish();
        co_await finishing;
    } catch (const Error &error) {
        tell(error);
    }
    setOver();
}

/// Whoever presses a shortcut sees no answer to it.
void Typist::tell(const Error &failure)
{
    qCWarning(Logging::dictation) << failure.localizedDescription;
    m_platform.kavrin.report(failure.localizedDescription);
}

void Typist::stop()
{
    m_isStopping = true;
    if (!m_dictation || m_dictation->isWaiting()) {
        Q_EMIT stopped();
    } else {
        m_dictation->leave();
    }
}

void Typist::setOver()
{
    m_dictation = nullptr;
    m_key.over();
    if (m_isStopping) {
        Q_EMIT stopped();
    }
}

} // namespace kavrin
