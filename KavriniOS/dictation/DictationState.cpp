// SPDX-License-Identifier: MIT
#include "dictation/DictationState.h"

#include "dictation/Publication.h"
#include "store/DictationKeys.h"

namespace kavrin
{

namespace
{

Publication &publication()
{
    static Publication publication;
    return publication;
}

} // namespace

QCoro::Task<> DictationState::publish(QString state)
{
    return publication().store({{dictation::stateKey, state}});
}

QCoro::Task<> DictationState::clearStale()
{
    Changes changes;
    for (const QString &stale : {dictation::starting, dictation::recording, dictation::working}) {
        changes.push_back({dictation::stateKey, dictation::idle, stale});
    }
    return publication().store(changes);
}

void DictationState::republishIfFailed()
{
    publication().storeAgainIfFailed();
}

} // namespace kavrin
