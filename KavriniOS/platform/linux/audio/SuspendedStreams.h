// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include <set>

struct pa_stream;

namespace kavrin
{

/// Which of this application's streams the sound server has suspended. The functions are called on the sound
/// thread or with the server's lock held; receivers of the signal hear it on their own thread.
class SuspendedStreams : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    void update(pa_stream *stream, bool suspended);

    /// The stream is closed. Says nothing: that a closed stream is not suspended does not give sound back.
    void forget(pa_stream *stream);

Q_SIGNALS:
    /// The first stream was suspended (true), or the last one resumed (false).
    void changed(bool suspended);

private:
    std::set<pa_stream *> m_streams;
};

} // namespace kavrin
