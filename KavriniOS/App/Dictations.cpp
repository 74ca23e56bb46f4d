// SPDX-License-Identifier: MIT
#include "App/Dictations.h"

#include "store/Shared.h"

namespace kavrin
{

namespace
{

using S = Recorder::S;

/// The bridge obeys what stands there, whoever has written it.
void command(const QString &command)
{
    Shared::d().set(QStringLiteral("dictationCommand"), command);
}

} // namespace

Dictations::Dictations(const DictationBridge &bridge, const DictateModelFactory &screens)
    : m_keyboard(bridge.recorder())
{
    connect(&m_keyboard, &Recorder::stateChanged, this, &Dictations::stateChanged);
    connect(&screens, &DictateModelFactory::made, this, &Dictations::watch);
}

void Dictations::watch(DictateModel *screen)
{
    m_screen = screen;
    connect(screen, &DictateModel::stateChanged, this, &Dictations::stateChanged);
    // The pointer is null by then.
    connect(screen, &QObject::destroyed, this, &Dictations::stateChanged, Qt::QueuedConnection);
}

S Dictations::state() const
{
    for (const S state : {S::recording, S::working}) {
        if (m_keyboard.state() == state || (m_screen && m_screen->state() == state)) {
            return state;
        }
    }
    return S::idle;
}

void Dictations::toggle()
{
    if (m_keyboard.state() == S::recording) {
        command(QStringLiteral("stop"));
    } else if (m_screen && m_screen->isRecording()) {
        m_screen->stop();
    } else {
        command(QStringLiteral("start"));
    }
}

} // namespace kavrin
