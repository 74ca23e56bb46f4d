// SPDX-License-Identifier: MIT
#include "dictation/Publication.h"

#include "store/SuiteWriter.h"

#include <QCoroFuture>

namespace kavrin
{

QCoro::Task<> Publication::store(Changes changes)
{
    m_changes = changes;
    m_hasFailed = false;
    const QFuture<std::optional<Error>> written = SuiteWriter::write(changes);
    const std::optional<Error> failure = co_await written;
    m_hasFailed = failure.has_value();
}

void Publication::storeAgainIfFailed()
{
    if (m_hasFailed) {
        store(m_changes);
    }
}

} // namespace kavrin
