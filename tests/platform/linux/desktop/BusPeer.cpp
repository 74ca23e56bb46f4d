// SPDX-License-Identifier: MIT
#include "BusPeer.h"

#include "support/Wait.h"

#include <QDBusArgument>
#include <QDBusPendingCallWatcher>

#include <utility>

namespace kavrin::test
{

namespace
{

const QString properties = QStringLiteral("org.freedesktop.DBus.Properties");

QString text(const QVariant &value);

QString mapText(const QDBusArgument &argument)
{
    QStringList entries;
    for (argument.beginMap(); !argument.atEnd(); argument.endMapEntry()) {
        argument.beginMapEntry();
        const QString key = text(argument.asVariant());
        entries.append(key + QStringLiteral(": ") + text(argument.asVariant()));
    }
    argument.endMap();
    return u'{' + entries.join(QStringLiteral(", ")) + u'}';
}

QString arrayText(const QDBusArgument &argument)
{
    QStringList elements;
    for (argument.beginArray(); !argument.atEnd();) {
        elements.append(text(argument.asVariant()));
    }
    argument.endArray();
    return u'[' + elements.join(u' ') + u']';
}

QString structureText(const QDBusArgument &argument)
{
    QStringList fields;
    for (argument.beginStructure(); !argument.atEnd();) {
        fields.append(text(argument.asVariant()));
    }
    argument.endStructure();
    return u'(' + fields.join(u' ') + u')';
}

QString argumentText(const QDBusArgument &argument)
{
    switch (argument.currentType()) {
    case QDBusArgument::MapType:
        return mapText(argument);
    case QDBusArgument::ArrayType:
        return arrayText(argument);
    case QDBusArgument::StructureType:
        return structureText(argument);
    default:
        return text(argument.asVariant());
    }
}

QString text(const QVariant &value)
{
    if (value.metaType() == QMetaType::fromType<QDBusArgument>()) {
        return argumentText(value.value<QDBusArgument>());
    }
    if (value.metaType() == QMetaType::fromType<QDBusVariant>()) {
        return text(value.value<QDBusVariant>().variant());
    }
    if (value.metaType() == QMetaType::fromType<QDBusObjectPath>()) {
        return value.value<QDBusObjectPath>().path();
    }
    if (value.metaType() == QMetaType::fromType<QStringList>()) {
        return u'[' + value.toStringList().join(u' ') + u']';
    }
    if (value.metaType() == QMetaType::fromType<QByteArray>()) {
        return QString::fromLatin1(value.toByteArray().toHex());
    }
    return value.toString();
}

QString text(const QDBusMessage &message)
{
    if (message.type() == QDBusMessage::ErrorMessage) {
        return message.errorName();
    }
    QStringList values;
    for (const QVariant &value : message.arguments()) {
        values.append(text(value));
    }
    return values.join(u' ');
}

} // namespace

BusPeer::BusPeer(QDBusConnection bus, QString service, QString path, QString interface)
    : m_bus(std::move(bus)), m_service(std::move(service)), m_path(std::move(path)),
      m_interface(std::move(interface))
{
    m_bus.connect(m_service, m_path, m_interface, QString(), this, SLOT(note(QDBusMessage)));
    // By the answer the bus has learnt of that.
    ask(QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping"), {});
}

QDBusMessage BusPeer::ask(const QString &interface, const QString &method, const QVariantList &arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(m_service, m_path, interface, method);
    call.setArguments(arguments);
    // Not when the answer is there, but in its turn: signals that came before it have been noted by then.
    bool isTold = false;
    const QDBusPendingCallWatcher answer(m_bus.asyncCall(call));
    connect(&answer, &QDBusPendingCallWatcher::finished, this, [&isTold] { isTold = true; });
    waitUntil([&] { return isTold; });
    return answer.reply();
}

QString BusPeer::call(const QString &method, const QVariantList &arguments)
{
    return text(ask(m_interface, method, arguments));
}

QString BusPeer::property(const QString &name)
{
    return text(ask(properties, QStringLiteral("Get"), {m_interface, name}));
}

QStringList BusPeer::takeSignals()
{
    // The answer comes after what was sent before it.
    ask(QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping"), {});
    return std::exchange(m_signals, {});
}

void BusPeer::note(const QDBusMessage &signal)
{
    m_signals.append((signal.member() + u' ' + text(signal)).trimmed());
}

} // namespace kavrin::test
