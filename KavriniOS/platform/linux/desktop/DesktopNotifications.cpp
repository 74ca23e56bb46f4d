// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/DesktopNotifications.h"

#include "platform/Logging.h"
#include "platform/linux/desktop/LastingNotification.h"

#include <QCoroDBusPendingCall>
#include <QDBusMessage>
#include <QDBusReply>
#include <QGuiApplication>
#include <QPointer>
#include <QVariantMap>

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

using namespace std::chrono_literals;

/// The bus may have to start the service first.
constexpr std::chrono::milliseconds patience = 3s;

const QString service = u"org.freedesktop.Notifications"_s;
const QString path = u"/org/freedesktop/Notifications"_s;

/// What servers call a click on the notification itself.
const QString defaultAction = u"default"_s;

/// Names and labels in turn.
QStringList actionsOf(const Notifications::Notice &notice)
{
    QStringList actions = {defaultAction, notice.action};
    for (const Notifications::Button &button : notice.buttons) {
        actions << button.name << button.label;
    }
    return actions;
}

constexpr int serverDecides = -1;
constexpr int never = 0;

/// What tells servers how long to show it.
struct StayHints {
    Notifications::Stay stay;
    const char *hint; ///< one that is true
    int expiry;
};

constexpr std::array stayHints = {
    StayHints{Notifications::Stay::AsUsual, nullptr, serverDecides},
    StayHints{Notifications::Stay::Briefly, "transient", serverDecides},
    StayHints{Notifications::Stay::UntilSeen, nullptr, never},
    StayHints{Notifications::Stay::UntilWithdrawn, "resident", never},
};

const StayHints &hintsOf(Notifications::Stay stay)
{
    return *std::ranges::find(stayHints, stay, &StayHints::stay);
}

QVariantMap hintsOf(const Notifications::Notice &notice)
{
    QVariantMap hints = {{u"desktop-entry"_s, QGuiApplication::desktopFileName()}};
    if (const char *const hint = hintsOf(notice.stay).hint) {
        hints.insert(QString::fromLatin1(hint), true);
    }
    if (notice.stay == Notifications::Stay::UntilWithdrawn) {
        hints.insert(u"suppress-sound"_s, true);
    }
    return hints;
}

QDBusMessage call(const QString &method)
{
    return QDBusMessage::createMethodCall(service, path, service, method);
}

bool understandsMarkup(const QDBusMessage &capabilities)
{
    const QDBusReply<QStringList> reply(capabilities);
    return reply.value().contains(u"body-markup"_s);
}

} // namespace

DesktopNotifications::DesktopNotifications(QDBusConnection bus) : m_bus(std::move(bus))
{
    if (const std::optional<LastingNotification> left = lastingNotification()) {
        m_server = left->server;
        m_shown = left->number;
        update();
    }
}

Notifications::Number DesktopNotifications::show(const Notice &notice)
{
    m_wanted = notice;
    ++m_last;
    update();
    return m_last;
}

void DesktopNotifications::withdraw(Number shown)
{
    if (shown == m_last && m_wanted) {
        m_wanted.reset();
        update();
    }
}

void DesktopNotifications::update()
{
    m_isTold = false;
    if (!m_isSending && m_bus.isConnected()) {
        listen();
        tellServer();
    }
}

/// Called before the first notification and not at the start: most runs of the application show none.
void DesktopNotifications::listen()
{
    if (std::exchange(m_isListening, true)) {
        return;
    }
    m_bus.connect(service, path, service, u"ActionInvoked"_s, this, SLOT(onActionInvoked(uint, QString)));
    m_bus.connect(service, path, service, u"ActivationToken"_s, this, SLOT(onActivationToken(uint, QString)));
}

/// One after the other, because the next one needs the number that the server gives this one.
QCoro::Task<> DesktopNotifications::tellServer()
{
    const QPointer<DesktopNotifications> self(this);
    m_isSending = true;
    const QDBusPendingCall asked = m_bus.asyncCall(call(u"GetCapabilities"_s), int(patience.count()));
    const QDBusMessage capabilities = co_await asked;
    if (self) {
        know(capabilities);
    }
    while (self && !std::exchange(m_isTold, true)) {
        if (m_wanted) {
            const Notice notice = *m_wanted;
            const QCoro::Task<uint> notifying = notify(notice);
            const uint shown = co_await notifying;
            if (self) {
                m_shown = shown;
                keep(notice.stay);
            }
        } else if (m_shown != 0) {
            const QCoro::Task<> closing = close(std::exchange(m_shown, 0));
            co_await closing;
            keepLastingNotification(std::nullopt);
        }
    }
    if (self) {
        m_isSending = false;
        Q_EMIT settled();
    }
}

/// A server that has taken the place of another one shows nothing of what that has shown. One that does not
/// answer may be such a server.
void DesktopNotifications::know(const QDBusMessage &capabilities)
{
    m_understandsMarkup = understandsMarkup(capabilities);
    const bool isAnswer = capabilities.type() == QDBusMessage::ReplyMessage;
    const QString server = isAnswer ? capabilities.service() : QString();
    if (server != m_server) {
        m_server = server;
        m_shown = 0;
        keepLastingNotification(std::nullopt);
    }
}

/// Keeps what is shown for the next process, unless it goes by itself.
void DesktopNotifications::keep(Stay stay)
{
    const bool isLasting = m_shown != 0 && stay == Stay::UntilWithdrawn;
    keepLastingNotification(isLasting ? std::optional(LastingNotification{m_server, m_shown}) : std::nullopt);
}

/// Resumes with the server's number; 0 if it does not show it.
QCoro::Task<uint> DesktopNotifications::notify(Notice notice)
{
    const QString body = m_understandsMarkup ? notice.text.toHtmlEscaped() : notice.text;
    QDBusMessage notify = call(u"Notify"_s);
    notify << QGuiApplication::applicationDisplayName() << m_shown << QGuiApplication::desktopFileName()
           << notice.title << body << actionsOf(notice) << hintsOf(notice) << hintsOf(notice.stay).expiry;
    const QDBusPendingCall sent = m_bus.asyncCall(notify, int(patience.count()));
    const QDBusMessage answer = co_await sent;
    const uint shown = QDBusReply<uint>(answer).value();
    qCInfo(Logging::application) << "Notification:" << (shown != 0 ? "shown" : "not shown");
    co_return shown;
}

QCoro::Task<> DesktopNotifications::close(uint notification)
{
    const QDBusMessage close = call(u"CloseNotification"_s) << notification;
    const QDBusPendingCall sent = m_bus.asyncCall(close, int(patience.count()));
    co_await sent;
}

void DesktopNotifications::onActionInvoked(uint notification, const QString &action)
{
    if (notification != m_shown) {
        return;
    }
    const QString token = std::exchange(m_activationToken, QString());
    if (action == defaultAction) {
        Q_EMIT activated(token);
    } else {
        Q_EMIT pressed(action, token);
    }
}

void DesktopNotifications::onActivationToken(uint notification, const QString &token)
{
    if (notification == m_shown) {
        m_activationToken = token;
    }
}

} // namespace kavrin
