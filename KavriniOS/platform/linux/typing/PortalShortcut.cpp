// SPDX-License-Identifier: MIT
#include "platform/linux/typing/PortalShortcut.h"

#include "platform/Error.h"
#include "platform/linux/typing/ShortcutRefusal.h"

#include <QCoroFuture>
#include <QDBusMetaType>
#include <QElapsedTimer>
#include <QFuture>
#include <QPointer>

#include <algorithm>
#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

using Entries = QList<PortalShortcutEntry>;

const QString interface = u"org.freedesktop.portal.GlobalShortcuts"_s;
const QString application = u"app.kavrin.Typist"_s;
const QString id = u"dictate"_s;

Entries wishes()
{
    return {{id, {{u"description"_s, u"Dictate"_s}, {u"preferred_trigger"_s, u"CTRL+ALT+d"_s}}}};
}

/// What a person is told of the shortcut; empty if it is not there.
QString keysOf(const Entries &entries)
{
    const auto found =
        std::ranges::find_if(entries, [](const PortalShortcutEntry &entry) { return entry.id == id; });
    if (found == entries.end()) {
        return {};
    }
    const QString keys = found->properties.value(u"trigger_description"_s).toString();
    return keys.isEmpty() ? u"Choose its keys in the desktop's settings."_s : keys;
}

/// Those in an answer of the portal. Whether there are any does not show in the result: GNOME 48 says "ended"
/// when the user has accepted the shortcut.
QString keysOf(const PortalRequest::Answer &answer)
{
    return keysOf(qdbus_cast<Entries>(answer.details.value(u"shortcuts"_s)));
}

Error failure(const QString &reason)
{
    return {u"shortcut"_s, 1, reason};
}

Error refusal()
{
    return failure(u"You have refused it; \"kavrinctl type shortcut\" makes it ask you again."_s);
}

/// Has the desktop ask the user. Throws Error.
QCoro::Task<QString> newKeys(std::shared_ptr<PortalSession> session, std::chrono::milliseconds quickestUser)
{
    QElapsedTimer thought;
    thought.start();
    const QVariantList arguments{QVariant::fromValue(wishes()), QString()};
    const QCoro::Task<PortalRequest::Answer> binding = session->ask(u"BindShortcuts"_s, arguments, {});
    const PortalRequest::Answer answer = co_await binding;
    const QString keys = keysOf(answer);
    if (!keys.isEmpty()) {
        co_return keys;
    }
    if (answer.result == PortalRequest::granted || thought.elapsed() < quickestUser.count()) {
        throw failure(u"It does not say why."_s);
    }
    ShortcutRefusal::keep();
    throw refusal();
}

/// Plasma opens its settings at every "BindShortcuts", so a shortcut that it knows is left alone.
QCoro::Task<QString> keysIn(std::shared_ptr<PortalSession> session, std::chrono::milliseconds quickestUser)
{
    const QCoro::Task<> opening = session->open(application);
    co_await opening;
    const QCoro::Task<PortalRequest::Answer> listing = session->ask(u"ListShortcuts"_s, {}, {});
    const QString keys = keysOf(co_await listing);
    if (!keys.isEmpty()) {
        co_return keys;
    }
    if (ShortcutRefusal::isKept()) {
        throw refusal();
    }
    const QCoro::Task<QString> asking = newKeys(session, quickestUser);
    co_return co_await asking;
}

QString noKeys(const QString &reason)
{
    return u"The desktop gives Kavrin no shortcut. %1 Make one of its own run \"kavrinctl type toggle\"."_s
        .arg(reason);
}

} // namespace

PortalShortcut::PortalShortcut(QDBusConnection bus, std::chrono::milliseconds quickestUser)
    : m_bus(std::move(bus)), m_quickestUser(quickestUser),
      m_portal(PortalRequest::service(), m_bus, QDBusServiceWatcher::WatchForOwnerChange)
{
    qDBusRegisterMetaType<PortalShortcutEntry>();
    qDBusRegisterMetaType<Entries>();
    qRegisterMetaType<QDBusObjectPath>(); // connect() finds no slot with this type before
    m_bus.connect(PortalRequest::service(), PortalRequest::path(), interface, u"Activated"_s, this,
                  SLOT(onActivated(QDBusObjectPath, QString, qulonglong, QVariantMap)));
    m_bus.connect(PortalRequest::service(), PortalRequest::path(), interface, u"Deactivated"_s, this,
                  SLOT(onDeactivated(QDBusObjectPath, QString, qulonglong, QVariantMap)));
    m_bus.connect(PortalRequest::service(), PortalRequest::path(), interface, u"ShortcutsChanged"_s, this,
                  SLOT(onShortcutsChanged(QDBusObjectPath, QList<kavrin::PortalShortcutEntry>)));
    m_portal.addWatchedService(PortalRequest::parts());
    connect(&m_portal, &QDBusServiceWatcher::serviceOwnerChanged, this, &PortalShortcut::onPortalChanged);
    bind(); // makes the portal come, if it is not there
}

void PortalShortcut::onPortalChanged(const QString & /*name*/, const QString & /*previous*/,
                                     const QString &next)
{
    if (next.isEmpty()) {
        return;
    }
    m_isPortalNew = true;
    if (!m_isBinding && !hasSession()) {
        bind();
    }
}

bool PortalShortcut::hasSession() const
{
    return m_session && m_session->isOpen();
}

QCoro::Task<QString> PortalShortcut::askAgain()
{
    const QPointer<PortalShortcut> self = this;
    ShortcutRefusal::forget();
    if (!m_isBinding) {
        bind();
    }
    while (self && m_isBinding) {
        const QFuture<void> bound = m_bound.future();
        co_await bound;
    }
    co_return self ? m_name : QString();
}

/// Once more where the portal that was asked has made room for another one.
QCoro::Task<> PortalShortcut::bind()
{
    const QPointer<PortalShortcut> self = this;
    m_isBinding = true;
    m_bound = QPromise<void>();
    m_bound.start();
    do {
        m_isPortalNew = false;
        const QCoro::Task<> trying = bindOnce();
        co_await trying;
    } while (self && m_isPortalNew && !hasSession());
    if (self) {
        m_isBinding = false;
        m_bound.finish();
    }
}

QCoro::Task<> PortalShortcut::bindOnce()
{
    const QPointer<PortalShortcut> self = this;
    // GNOME gives keys that an older session still has to nobody, and does not say so.
    m_session = nullptr;
    setReleased();
    m_name = u"The desktop has not answered yet. Perhaps it asks you for the keys."_s;
    const auto session = std::make_shared<PortalSession>(m_bus, interface);
    QString name;
    try {
        const QCoro::Task<QString> asking = keysIn(session, m_quickestUser);
        name = co_await asking;
    } catch (const Error &error) {
        name = noKeys(error.localizedDescription);
    }
    if (self) {
        m_name = name;
        m_session = session;
        connect(session.get(), &PortalSession::closed, this, &PortalShortcut::onClosed);
    }
}

void PortalShortcut::onClosed()
{
    m_name = noKeys(u"Its portal has taken it back."_s);
    setReleased();
}

/// The user has chosen other keys in the desktop's settings.
void PortalShortcut::onShortcutsChanged(const QDBusObjectPath &session,
                                        const QList<PortalShortcutEntry> &shortcuts)
{
    const QString keys = keysOf(shortcuts);
    if (isOurs(session, id) && !keys.isEmpty()) {
        m_name = keys;
    }
}

bool PortalShortcut::isOurs(const QDBusObjectPath &session, const QString &shortcut) const
{
    return hasSession() && session.path() == m_session->handle() && shortcut == id;
}

/// Comes again and again while the keys are held.
void PortalShortcut::onActivated(const QDBusObjectPath &session, const QString &shortcut, qulonglong /*time*/,
                                 const QVariantMap & /*options*/)
{
    if (isOurs(session, shortcut) && !m_isDown) {
        m_isDown = true;
        Q_EMIT pressed();
    }
}

void PortalShortcut::onDeactivated(const QDBusObjectPath &session, const QString &shortcut,
                                   qulonglong /*time*/, const QVariantMap & /*options*/)
{
    if (isOurs(session, shortcut)) {
        setReleased();
    }
}

void PortalShortcut::setReleased()
{
    if (m_isDown) {
        m_isDown = false;
        Q_EMIT released();
    }
}

} // namespace kavrin
