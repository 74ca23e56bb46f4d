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
    Changes changes; ///< the last ones that were to be stored
    bool hasFailed = false; ///< whether the suite did not accept them
};

Published &published()
{
    static Published published;
    return published;
}

} // namespace

QCoro::Task<> DictationState::publish(QString state)
{
    return store({{dictation::stateKey, state}});
}

QCoro::Task<> DictationState::clearStale()
{
    Changes changes;
    for (const QString &stale : {dictation::starting, dictation::recording, dictation::working}) {
        changes.push_back({dictation::stateKey, dictation::idle, stale});
    }
    return store(changes);
}

QCoro::Task<> DictationState::store(Changes changes)
{
    published() = {changes, false};
    const QFuture<std::optional<Error>> written = SuiteWriter::write(changes);
    const std::optional<Error> failure = co_await written;
    published().hasFailed = failure.has_value();
}

void DictationState::republishIfFailed()
{
    if (published().hasFailed) {
        store(published().changes);
    }
}

} // namespace kavrin
