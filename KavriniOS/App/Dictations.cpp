// SPDX-License-Identifier: MIT
#include "App/Dictations.h"

namespace kavrin
{

namespace
{

using S = Recorder::S;

} // namespace

Dictations::Dictations(DictationBridge &bridge, const DictateModelFactory &screens) : m_bridge(bridge)
{
    connect(&bridge.recorder(), &Recorder::stateChanged, this, &Dictations::stateChanged);
    connect(&screens, &DictateModelFactory::made, this, &Dictations::watch);
}

void Dictations::watch(DictateModel *screen)
{
    m_screen = screen;
    connect(screen, &DictateModel::stateChanged, this, &Dictations::stateChanged);
    // Queued, because the pointer is null only then.
    connect(screen, &QObject::destroyed, this, &Dictations::stateChanged, Qt::QueuedConnection);
}

S Dictations::state() const
{
    for (const S state : {S::recording, S::working}) {
        if (m_bridge.recorder().state() == state || (m_screen && m_screen->state() == state)) {
            return state;
        }
    }
    return S::idle;
}

void Dictations::toggle()
{
    if (m_bridge.recorder().state() == S::recording) {
        m_bridge.stop();
    } else if (m_screen && m_screen->isRecording()) {
        m_screen->stop();
    } else {
        m_bridge.start();
    }
}

} // namespace kavrin
