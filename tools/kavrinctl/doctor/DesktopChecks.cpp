// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/doctor/Checks.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusVariant>

#include <chrono>

namespace kavrin::ctl
{

namespace
{

using namespace Qt::StringLiterals;

/// The bus may have to start the program first.
constexpr std::chrono::milliseconds patience = std::chrono::seconds(5);

/// An object on the session bus, with its one interface.
struct Peer {
    QString service;
    QString path;
    QString interface;
};

const Peer typist = {u"app.kavrin.Typist"_s, u"/app/kavrin/Typist"_s, u"app.kavrin.Typist"_s};
const Peer notifications = {u"org.freedesktop.Notifications"_s, u"/org/freedesktop/Notifications"_s,
                            u"org.freedesktop.Notifications"_s};
const Peer trayProperties = {u"org.kde.StatusNotifierWatcher"_s, u"/StatusNotifierWatcher"_s,
                             u"org.freedesktop.DBus.Properties"_s};

QDBusMessage ask(const Peer &peer, const QString &method, const QVariantList &arguments = {})
{
    QDBusMessage message = QDBusMessage::createMethodCall(peer.service, peer.path, peer.interface, method);
    message.setArguments(arguments);
    return QDBusConnection::sessionBus().call(message, QDBus::Block, int(patience.count()));
}

bool isAnswer(const QDBusMessage &message)
{
    return message.type() == QDBusMessage::ReplyMessage;
}

/// kavrin-typist answers with a name, such as "Wayland virtual keyboard", or with a sentence that says why
/// there is none and what to do: `otherwise` is the finding then.
Finding askTypist(const QString &method, const QString &found,
                  Finding (*otherwise)(const QString &, const QString &))
{
    const QDBusMessage answer = ask(typist, method);
    if (QDBusError(answer).type() == QDBusError::ServiceUnknown) {
        return bad(u"kavrin-typist, which types the text where the cursor is, is not installed."_s,
                   u"Install Kavrin whole. Until then, paste: the text is on the clipboard."_s);
    }
    if (!isAnswer(answer)) {
        return bad(u"kavrin-typist does not run: %1"_s.arg(answer.errorMessage()),
                   u"Start it in a terminal, and read what it says."_s);
    }
    const QString text = answer.arguments().value(0).toString();
    return text.endsWith(u'.') ? otherwise(text, {}) : good(found.arg(text));
}

} // namespace

Finding checkTyping()
{
    return askTypist(u"Way"_s, u"The text is typed with: %1."_s, &bad);
}

Finding checkShortcut()
{
    // Nobody tells whether a key of the desktop's own runs it.
    return askTypist(u"Shortcut"_s, u"The key for dictation is: %1."_s, &notChecked);
}

Finding checkNotifications()
{
    const QDBusMessage answer = ask(notifications, u"GetServerInformation"_s);
    if (!isAnswer(answer)) {
        return bad(u"No program shows notifications, so you hear of failures only by the tones."_s,
                   u"Install or start one, such as mako or dunst."_s);
    }
    return good(u"%1 shows notifications."_s.arg(answer.arguments().value(0).toString()));
}

Finding checkTray()
{
    const QDBusMessage answer = ask(
        trayProperties, u"Get"_s, {u"org.kde.StatusNotifierWatcher"_s, u"IsStatusNotifierHostRegistered"_s});
    const bool hasTray = answer.arguments().value(0).value<QDBusVariant>().variant().toBool();
    return hasTray ? good(u"The desktop has a tray for Kavrin's icon."_s)
                   : good(u"The desktop has no tray. Kavrin needs none."_s);
}

} // namespace kavrin::ctl
