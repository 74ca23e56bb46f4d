// SPDX-License-Identifier: MIT
#include "FakeSettingsPortal.h"

#include <QDBusArgument>
#include <QDBusError>

#include <utility>

namespace kavrin::test
{

namespace
{

constexpr QLatin1String service("org.freedesktop.portal.Desktop");
constexpr QLatin1String path("/org/freedesktop/portal/desktop");
constexpr QLatin1String interface("org.freedesktop.portal.Settings");

} // namespace

FakeSettingsPortal::FakeSettingsPortal(QDBusConnection bus, const QVariantMap &appearance, Answer answer)
    : FakeSettingsPortal(std::move(bus), Settings{{QStringLiteral("org.freedesktop.appearance"), appearance}},
                         answer)
{
}

FakeSettingsPortal::FakeSettingsPortal(QDBusConnection bus, Settings settings, Answer answer)
    : m_bus(std::move(bus)), m_settings(std::move(settings)), m_answer(answer)
{
    connect(&m_thread, &QThread::finished, this, [this] { m_ended.set_value(); }, Qt::DirectConnection);
    m_thread.start();
    moveToThread(&m_thread);
    m_bus.registerObject(path, this, QDBusConnection::ExportAllSlots);
    m_bus.registerService(service);
}

FakeSettingsPortal::~FakeSettingsPortal()
{
    m_bus.unregisterService(service);
    m_bus.unregisterObject(path);
    m_thread.quit();
    m_ended.get_future().wait(); // ThreadSanitizer does not see what QThread::wait() waits for
    m_thread.wait();
}

void FakeSettingsPortal::ReadAll(const QStringList &)
{
    setDelayedReply(true);
    {
        const QMutexLocker locker(&m_mutex);
        m_calls.push_back(message());
    }
    if (m_answer == Answer::Refusal) {
        m_bus.send(message().createErrorReply(QDBusError::AccessDenied, QStringLiteral("Not allowed")));
    } else if (m_answer == Answer::AtOnce) {
        reply(message());
    }
}

void FakeSettingsPortal::answer()
{
    const QMutexLocker locker(&m_mutex);
    for (const QDBusMessage &call : m_calls) {
        reply(call);
    }
}

void FakeSettingsPortal::change(const QString &settings, const QString &key, const QVariant &value)
{
    QDBusMessage signal = QDBusMessage::createSignal(path, interface, QStringLiteral("SettingChanged"));
    signal << settings << key << QVariant::fromValue(QDBusVariant(value));
    m_bus.send(signal);
}

std::size_t FakeSettingsPortal::callCount() const
{
    const QMutexLocker locker(&m_mutex);
    return m_calls.size();
}

void FakeSettingsPortal::reply(const QDBusMessage &call)
{
    QDBusArgument settings;
    settings.beginMap(QMetaType::fromType<QString>(), QMetaType::fromType<QVariantMap>());
    for (const QString &name : call.arguments().constFirst().toStringList()) {
        if (m_settings.contains(name)) {
            settings.beginMapEntry();
            settings << name << m_settings.value(name);
            settings.endMapEntry();
        }
    }
    settings.endMap();
    m_bus.send(call.createReply(QVariant::fromValue(settings)));
}

} // namespace kavrin::test
