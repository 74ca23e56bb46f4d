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
/// Without MixWithOthers, streams opened from then on are announced as calls (media.role "phone"). A server
/// that is set up for it then makes other sound quieter or pauses it. AllowBluetooth and DefaultToSpeaker
/// change nothing: the server uses the devices that the user has chosen.
///
/// Two things are interruptions: the server suspends and resumes a stream of this application, and the
/// machine sleeps. Moves to another device and restarts of the server are not.
class PulseAudioSession final : public AudioSession
{
    Q_OBJECT

public:
    /// In a sandbox, which `sandboxMark` shows by existing, it asks the desktop's portal for permission.
    explicit PulseAudioSession(std::shared_ptr<SoundServer> server,
                               QString sandboxMark = QStringLiteral("/.flatpak-info"),
                               QObject *parent = nullptr);

    QCoro::Task<bool> requestRecordPermission(std::stop_token withdrawn = {}) override;
    void setCategory(Category category, Mode mode, Options options) override;
    QCoro::Task<> activate() override;

private:
    void applyCategory();

    std::shared_ptr<SoundServer> m_server;
    QString m_sandboxMark;
    SleepMonitor m_sleep;
    Options m_options = MixWithOthers;
    bool m_active = false;
};

} // namespace kavrin
