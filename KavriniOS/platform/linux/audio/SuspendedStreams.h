// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include <set>

struct pa_stream;

namespace kavrin
{

/// The streams of this application that the sound server has suspended. Call the functions on the sound
/// thread or with the server's lock held. Receivers get the signal on their own thread.
class SuspendedStreams : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    void update(pa_stream *stream, bool suspended);

    /// The stream is closed. Sends no signal: the end of a suspended stream does not give sound back.
    void forget(pa_stream *stream);

Q_SIGNALS:
    /// The first stream was suspended (true), or the last suspended one resumed (false).
    void changed(bool suspended);

private:
    std::set<pa_stream *> m_streams;
};

} // namespace kavrin
