// SPDX-License-Identifier: MIT
#include "platform/linux/audio/SuspendedStreams.h"

namespace kavrin
{

void SuspendedStreams::update(pa_stream *stream, bool suspended)
{
    const bool before = !m_streams.empty();
    if (suspended) {
        m_streams.insert(stream);
    } else {
        m_streams.erase(stream);
    }
    const bool after = !m_streams.empty();
    if (before != after) {
        Q_EMIT changed(after);
    }
}

void SuspendedStreams::forget(pa_stream *stream)
{
    m_streams.erase(stream);
}

} // namespace kavrin
