// SPDX-License-Identifier: MIT
#include "platform/linux/typing/Pasting.h"

#include <QCoroTimer>
#include <QTimer>

#include <algorithm>

namespace kavrin
{

using namespace Qt::StringLiterals;

QCoro::Task<std::optional<Error>> Pasting::type(QString text, Check check)
{
    const auto isControl = [](QChar character) { return character.category() == QChar::Other_Control; };
    if (std::any_of(text.begin(), text.end(), isControl)) {
        co_return typingError(u"A text with line breaks or other control characters is not typed."_s);
    }
    if (text.isEmpty()) {
        co_return std::nullopt;
    }
    try {
        const QCoro::Task<> pasting = paste(text, check);
        co_await pasting;
    } catch (const Error &error) {
        co_return error;
    }
    co_return std::nullopt;
}

Error typingError(const QString &description)
{
    return {u"typing"_s, 1, description};
}

QCoro::Task<> pause(std::chrono::milliseconds duration)
{
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    timer.setSingleShot(true);
    timer.start(duration);
    co_await timer;
}

} // namespace kavrin
