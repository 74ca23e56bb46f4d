// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/DesktopNotifications.h"

#include "platform/Logging.h"

#include <QCoroDBusPendingCall>
#include <QDBusMessage>
#include <QDBusReply>
#include <QGuiApplication>
#include <QPointer>
#include <QVariantMap>

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

const QString buttonAction = u"button"_s;

/// Names and labels in turn.
QStringList actionsOf(const QString &click, const QString &button)
{
    const QStringList actions = {defaultAction, click};
    return button.isEmpty() ? actions : actions + QStringList{buttonAction, button};
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

DesktopNotifications::DesktopNotifications(QDBusConnection bus) : m_bus(std::move(bus)) { }

void DesktopNotifications::show(const QString &title, const QString &text, const QString &action,
                                const QString &button)
{
    m_wanted = Notice{title, text, action, button};
    m_wantsButton = !button.isEmpty();
    if (!m_isSending && m_bus.isConnected()) {
        listen();
        sendWanted();
    }
}

void DesktopNotifications::withdrawButton()
{
    if (std::exchange(m_wantsButton, false)) {
        m_wanted.reset();
    }
    closeWithdrawn();
}

/// One that is being sent has no number yet, and is closed when it has.
void DesktopNotifications::closeWithdrawn()
{
    if (!m_isSending && !m_wantsButton && std::exchange(m_hasButton, false) && m_shown != 0) {
        m_bus.send(call(u"CloseNotification"_s) << m_shown);
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

/// Sends one after the other, because the next one needs the number that the server gives this one.
QCoro::Task<> DesktopNotifications::sendWanted()
{
    const QPointer<DesktopNotifications> self(this);
    m_isSending = true;
    const QDBusPendingCall asked = m_bus.asyncCall(call(u"GetCapabilities"_s), int(patience.count()));
    const QDBusMessage capabilities = co_await asked;
    while (self && m_wanted) {
        const Notice notice = *std::exchange(m_wanted, std::nullopt);
        const QString body = understandsMarkup(capabilities) ? notice.text.toHtmlEscaped() : notice.text;
        QDBusMessage notify = call(u"Notify"_s);
        notify << QGuiApplication::applicationDisplayName() << m_shown << QGuiApplication::desktopFileName()
               << notice.title << body << actionsOf(notice.action, notice.button)
               << QVariantMap{{u"desktop-entry"_s, QGuiApplication::desktopFileName()}}
               << -1; // shown as long as the server shows notifications
        const QDBusPendingCall sent = m_bus.asyncCall(notify, int(patience.count()));
        const QDBusMessage answer = co_await sent;
        if (self) {
            m_shown = QDBusReply<uint>(answer).value();
            m_hasButton = !notice.button.isEmpty();
            qCInfo(Logging::application) << "Notification:" << (m_shown != 0 ? "shown" : "not shown");
        }
    }
    if (self) {
        m_isSending = false;
        closeWithdrawn();
        Q_EMIT settled();
    }
}

void DesktopNotifications::onActionInvoked(uint notification, const QString &action)
{
    if (notification == m_shown && action == defaultAction) {
        Q_EMIT activated(std::exchange(m_activationToken, QString()));
    } else if (notification == m_shown && action == buttonAction) {
        Q_EMIT buttonPressed();
    }
}

void DesktopNotifications::onActivationToken(uint notification, const QString &token)
{
    if (notification == m_shown) {
        m_activationToken = token;
    }
}

} // namespace kavrin
