// SPDX-License-Identifier: MIT
#include "platform/linux/typing/Pasting.h"

#include <QCoroTimer>
#include <QTimer>

#include <algorithm>

namespace kavrin
{

using namespace Qt::StringLiterals;

Error typingError(const QString &description)
{
    return {u"typing"_s, 1, description};
}

std::optional<Error> refusalToPaste(const QString &text)
{
    const auto isControl = [](QChar character) { return character.category() == QChar::Other_Control; };
    if (std::none_of(text.begin(), text.end(), isControl)) {
        return std::nullopt;
    }
    return typingError(u"A text with line breaks or other control characters is not typed here. Ask for one "
                       "without line breaks, or paste it yourself."_s);
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
