// SPDX-License-Identifier: MIT
#pragma once

#include "platform/AudioSession.h"
#include "platform/linux/audio/SleepMonitor.h"
#include "platform/linux/audio/SoundServer.h"

#include <memory>
#include <optional>

namespace kavrin
{

/// The session with the user's sound server.
///
/// Without MixWithOthers streams opened from then on are announced as calls (media.role "phone"), which makes
/// the server quieten or pause other sound where it is set up to. AllowBluetooth and DefaultToSpeaker change
/// nothing: the server uses the devices that the user has chosen.
///
/// An interruption is a stream of this application that the server suspends and resumes, and the machine's
/// sleep. Moves to another device and restarts of the server are none.
class PulseAudioSession final : public AudioSession
{
    Q_OBJECT

public:
    /// Inside a sandbox, where `sandboxMark` exists, the desktop's portal is asked for permission.
    explicit PulseAudioSession(std::shared_ptr<SoundServer> server,
                               QString sandboxMark = QStringLiteral("/.flatpak-info"),
                               QObject *parent = nullptr);

    QCoro::Task<bool> requestRecordPermission() override;
    void setCategory(Category category, Mode mode, Options options) override;
    void activate() override;

private:
    void applyCategory();

    std::shared_ptr<SoundServer> m_server;
    QString m_sandboxMark;
    SleepMonitor m_sleep;
    Options m_options = MixWithOthers;
    bool m_active = false;
};

} // namespace kavrin
