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
    QString state; ///< the last one that was published
    bool hasFailed = false; ///< whether the suite did not accept it
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
    published().hasFailed = failure.has_value();
}

void DictationState::republishIfFailed()
{
    if (published().hasFailed) {
        publish(published().state);
    }
}

} // namespace kavrin
