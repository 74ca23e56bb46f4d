// SPDX-License-Identifier: MIT
#include "tools/typist/SessionLock.h"

#include <QCoroDBusPendingCall>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QList>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

constexpr int patience = 500; // milliseconds

struct ScreenSaver {
    QString service; ///< and its interface
    QString path;
};

const ScreenSaver screenSavers[] = {
    {u"org.freedesktop.ScreenSaver"_s, u"/org/freedesktop/ScreenSaver"_s}, // Plasma, LXQt
    {u"org.gnome.ScreenSaver"_s, u"/org/gnome/ScreenSaver"_s},
    {u"org.cinnamon.ScreenSaver"_s, u"/org/cinnamon/ScreenSaver"_s},
    {u"org.mate.ScreenSaver"_s, u"/org/mate/ScreenSaver"_s},
    {u"org.xfce.ScreenSaver"_s, u"/org/xfce/ScreenSaver"_s},
};

QDBusPendingCall ask(const QDBusConnection &bus, QDBusMessage question)
{
    question.setAutoStartService(false);
    return bus.asyncCall(question, patience);
}

QDBusPendingCall askLogind()
{
    QDBusMessage question =
        QDBusMessage::createMethodCall(u"org.freedesktop.login1"_s, u"/org/freedesktop/login1/session/auto"_s,
                                       u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    question.setArguments({u"org.freedesktop.login1.Session"_s, u"LockedHint"_s});
    return ask(QDBusConnection::systemBus(), question);
}

bool isYes(const QDBusMessage &answer)
{
    const QVariant value = answer.arguments().value(0);
    return value.canConvert<QDBusVariant>() ? value.value<QDBusVariant>().variant().toBool()
                                            : value.typeId() == QMetaType::Bool && value.toBool();
}

} // namespace

QCoro::Task<bool> isSessionLocked()
{
    QList<QDBusPendingCall> asked = {askLogind()};
    for (const auto &[service, path] : screenSavers) {
        asked.append(ask(QDBusConnection::sessionBus(),
                         QDBusMessage::createMethodCall(service, path, service, u"GetActive"_s)));
    }
    for (const QDBusPendingCall &call : std::as_const(asked)) {
        const QDBusMessage answer = co_await call;
        if (isYes(answer)) {
            co_return true;
        }
    }
    co_return false;
}

} // namespace kavrin
