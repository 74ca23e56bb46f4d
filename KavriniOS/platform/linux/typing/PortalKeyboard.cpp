// SPDX-License-Identifier: MIT
#include "platform/linux/typing/PortalKeyboard.h"

#include "platform/linux/typing/Pasting.h"
#include "platform/linux/typing/RestoreToken.h"

#include <QCoroDBusPendingCall>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QElapsedTimer>
#include <QTimer>

#include <stop_token>
#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

const QString interface = u"org.freedesktop.portal.RemoteDesktop"_s;
const QString application = u"app.kavrin.Typist"_s;

constexpr int patienceWithPortal = 2000; // milliseconds

/// An answer that takes longer is the user's: the desktop showed them its question.
constexpr std::chrono::milliseconds quickestUser{500};

/// How long the question may take to go and to give the focus back. GNOME animates that, and keys that come
/// meanwhile are lost.
constexpr std::chrono::milliseconds focusChange{1000};

constexpr uint keyboardDevice = 1; // among the types of devices
constexpr uint untilRevoked = 2; // of the modes of persisting
constexpr uint firstVersionThatPersists = 2;

// Keysyms of X11, which every layout has.
constexpr int shiftKey = 0xffe1;
constexpr int insertKey = 0xff63;

QDBusMessage questionFor(const QString &property)
{
    return PortalRequest::message(u"org.freedesktop.DBus.Properties"_s, u"Get"_s) << interface << property;
}

/// The value of a property; 0 where the portal has none.
uint number(const QDBusMessage &reply)
{
    return reply.arguments().value(0).value<QDBusVariant>().variant().toUInt();
}

bool hasKeyboard(const PortalRequest::Answer &answer)
{
    return answer.result == PortalRequest::granted
        && (answer.details.value(u"devices"_s).toUInt() & keyboardDevice) != 0;
}

} // namespace

PortalKeyboard::PortalKeyboard(QDBusConnection bus, std::chrono::milliseconds patience)
    : m_bus(std::move(bus)), m_patience(patience)
{
}

bool PortalKeyboard::isAvailable() const
{
    const QDBusMessage types =
        m_bus.call(questionFor(u"AvailableDeviceTypes"_s), QDBus::Block, patienceWithPortal);
    return (number(types) & keyboardDevice) != 0;
}

QCoro::Task<> PortalKeyboard::plugIn()
{
    if (m_session && m_session->isOpen()) {
        co_return;
    }
    if (std::exchange(m_isTakenBack, false)) {
        RestoreToken::forget();
    }
    auto session = std::make_unique<PortalSession>(m_bus, interface);
    const QCoro::Task<> opening = session->open(application);
    co_await opening;
    const QCoro::Task<> asking = ask(*session);
    co_await asking;
    QObject::connect(session.get(), &PortalSession::closed, session.get(),
                     [this](PortalSession::By by) { m_isTakenBack = by == PortalSession::By::Desktop; });
    m_session = std::move(session);
}

/// Older versions refuse options that they do not know.
QCoro::Task<QVariantMap> PortalKeyboard::wishes()
{
    QVariantMap wishes{{u"types"_s, keyboardDevice}};
    const QDBusPendingCall asking = m_bus.asyncCall(questionFor(u"version"_s));
    const QDBusMessage version = co_await asking;
    if (number(version) < firstVersionThatPersists) {
        co_return wishes;
    }
    wishes.insert(u"persist_mode"_s, untilRevoked);
    if (const QString token = RestoreToken::load(); !token.isEmpty()) {
        wishes.insert(u"restore_token"_s, token);
    }
    co_return wishes;
}

QCoro::Task<> PortalKeyboard::ask(PortalSession &session)
{
    const QCoro::Task<QVariantMap> wishing = wishes();
    const QCoro::Task<PortalRequest::Answer> selecting =
        session.ask(u"SelectDevices"_s, {}, co_await wishing);
    co_await selecting;

    std::stop_source givingUp;
    QTimer patience;
    QObject::connect(&patience, &QTimer::timeout, &patience, [&givingUp] { givingUp.request_stop(); });
    patience.start(m_patience);
    const QVariantList noWindow{QString()};
    const QCoro::Task<PortalRequest::Answer> starting =
        session.ask(u"Start"_s, noWindow, {}, givingUp.get_token());
    QElapsedTimer thought;
    thought.start();
    const PortalRequest::Answer answer = co_await starting;
    if (!hasKeyboard(answer)) {
        throw typingError(
            givingUp.stop_requested()
                ? u"The desktop's question whether Kavrin may type was not answered. It asks again "
                  "next time."_s
                : u"The desktop does not let Kavrin type. It asks again next time."_s);
    }
    if (const QString token = answer.details.value(u"restore_token"_s).toString(); !token.isEmpty()) {
        RestoreToken::store(token);
    }
    if (thought.hasExpired(quickestUser.count())) {
        const QCoro::Task<> goingBack = pause(focusChange);
        co_await goingBack;
    }
}

/// Every call is awaited: the portal does not keep the order of calls.
QCoro::Task<> PortalKeyboard::pressShiftInsert()
{
    const struct {
        int keysym;
        bool isDown;
    } strokes[] = {{shiftKey, true}, {insertKey, true}, {insertKey, false}, {shiftKey, false}};
    for (const auto &[keysym, isDown] : strokes) {
        const QCoro::Task<> stroke = setKey(keysym, isDown);
        co_await stroke;
    }
}

QCoro::Task<> PortalKeyboard::setKey(int keysym, bool isDown)
{
    const std::unique_ptr<PortalSession> &session = m_session;
    if (!session || !session->isOpen()) {
        throw typingError(u"The desktop no longer lets Kavrin type. It asks again next time."_s);
    }
    const QVariantList arguments{QVariantMap(), keysym, uint(isDown)};
    const QCoro::Task<> call = session->call(u"NotifyKeyboardKeysym"_s, arguments);
    co_await call;
}

} // namespace kavrin
