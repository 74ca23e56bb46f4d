// SPDX-License-Identifier: MIT
#include "platform/linux/audio/PulseAudioSession.h"

#include "platform/Logging.h"
#include "platform/linux/audio/DevicePortal.h"

#include <QCoroFuture>
#include <QFileInfo>
#include <QPointer>

#include <utility>

namespace kavrin
{

PulseAudioSession::PulseAudioSession(std::shared_ptr<SoundServer> server, QString sandboxMark,
                                     QObject *parent)
    : AudioSession(parent), m_server(std::move(server)), m_sandboxMark(std::move(sandboxMark))
{
    const auto tell = [this](bool began) {
        Q_EMIT interruption(began ? InterruptionType::Began : InterruptionType::Ended);
    };
    connect(&m_server->suspendedStreams(), &SuspendedStreams::changed, this, tell);
    connect(&m_sleep, &SleepMonitor::sleepChanged, this, tell);
}

QCoro::Task<bool> PulseAudioSession::requestRecordPermission(std::stop_token withdrawn)
{
    if (!QFileInfo::exists(m_sandboxMark)) {
        co_return true;
    }
    QCoro::Task<bool> access = DevicePortal::accessMicrophone(std::move(withdrawn));
    co_return co_await access;
}

void PulseAudioSession::setCategory(Category /*category*/, Mode /*mode*/, Options options)
{
    m_options = options;
    if (m_active) {
        applyCategory();
    }
}

QCoro::Task<> PulseAudioSession::activate()
{
    const QPointer<PulseAudioSession> self(this);
    const QFuture<std::optional<Error>> connecting = m_server->connecting();
    const std::optional<Error> failure = co_await connecting;
    if (failure) {
        throw Error(*failure);
    }
    if (!self) {
        co_return;
    }
    qCInfo(Logging::sound) << "Connected to the sound server";
    m_active = true;
    applyCategory();
}

void PulseAudioSession::applyCategory()
{
    m_server->setMediaRole(m_options.testFlag(MixWithOthers) ? QByteArray() : QByteArrayLiteral("phone"));
}

} // namespace kavrin
