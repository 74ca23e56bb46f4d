// SPDX-License-Identifier: MIT
#include "dictation/DictationState.h"

#include "store/DictationKeys.h"
#include "store/SuiteWriter.h"

#include <QCoroFuture>

namespace kavrin
{

namespace
{

struct Published {
    QString state; ///< the last one
    bool isLate = false; ///< whether the suite did not take it
};

Published &published()
{
    static Published published;
    return published;
}

} // namespace

QCoro::Task<> DictationState::publish(QString state)
{
    published() = {state, false};
    const QFuture<std::optional<Error>> written = SuiteWriter::write({{dictation::stateKey, state}});
    const std::optional<Error> failure = co_await written;
    published().isLate = failure.has_value();
}

void DictationState::publishLate()
{
    if (published().isLate) {
        publish(published().state);
    }
}

} // namespace kavrin
