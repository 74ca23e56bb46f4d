// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/SettingsNotice.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariantMap>

#include <chrono>

namespace kavrin::ctl
{

using namespace Qt::StringLiterals;

void tellOfSettings()
{
    constexpr std::chrono::milliseconds patience(1000);
    QDBusMessage call = QDBusMessage::createMethodCall(u"app.kavrin.Kavrin"_s, u"/app/kavrin/Kavrin"_s,
                                                       u"org.freedesktop.Application"_s, u"ActivateAction"_s);
    call << u"reload-settings"_s << QVariantList() << QVariantMap();
    call.setAutoStartService(false);
    QDBusConnection::sessionBus().call(call, QDBus::Block, int(patience.count()));
}

} // namespace kavrin::ctl
