// SPDX-License-Identifier: MIT
#include "FakePortal.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>

#include <utility>

namespace kavrin::test
{

using namespace Qt::StringLiterals;

namespace
{

const QString service = u"org.freedesktop.portal.Desktop"_s;
const QString root = u"/org/freedesktop/portal"_s;
const QString desktop = u"/org/freedesktop/portal/desktop"_s;
const QString shortcuts = u"org.freedesktop.portal.GlobalShortcuts"_s;

const QStringList questions = {u"CreateSession"_s, u"SelectDevices"_s, u"Start"_s,   u"ListShortcuts"_s,
                               u"BindShortcuts"_s, u"OpenFile"_s,      u"SaveFile"_s};

QString pathOf(const QString &kind, const QDBusMessage &call, const QVariant &token)
{
    const QString sender = call.service().mid(1).replace(u'.', u'_');
    return u"%1/%2/%3/%4"_s.arg(desktop, kind, sender, token.toString());
}

QVariantMap optionsOf(const QDBusMessage &call)
{
    const QVariant last = call.arguments().isEmpty() ? QVariant() : call.arguments().constLast();
    return qdbus_cast<QVariantMap>(last);
}

} // namespace

FakePortal::FakePortal(QDBusConnection bus) : m_bus(std::move(bus))
{
    m_bus.registerVirtualObject(root, this, QDBusConnection::SubPath);
    m_bus.interface()->registerService(service, QDBusConnectionInterface::ReplaceExistingService,
                                       QDBusConnectionInterface::AllowReplacement);
}

FakePortal::~FakePortal()
{
    m_bus.unregisterService(service);
    m_bus.unregisterObject(root, QDBusConnection::UnregisterTree);
}

void FakePortal::closeSession() const
{
    QDBusMessage signal =
        QDBusMessage::createSignal(m_session, u"org.freedesktop.portal.Session"_s, u"Closed"_s);
    m_bus.send(signal << QVariantMap());
}

void FakePortal::sendShortcut(const QString &signal, const QString &shortcut) const
{
    QDBusMessage message = QDBusMessage::createSignal(desktop, shortcuts, signal);
    message << QDBusObjectPath(m_session) << shortcut << qulonglong(0) << QVariantMap();
    m_bus.send(message);
}

void FakePortal::sendChange(const QVariant &changed) const
{
    QDBusMessage message = QDBusMessage::createSignal(desktop, shortcuts, u"ShortcutsChanged"_s);
    m_bus.send(message << QDBusObjectPath(m_session) << changed);
}

bool FakePortal::handleMessage(const QDBusMessage &message, const QDBusConnection &connection)
{
    if (message.member() == u"Get") {
        return connection.send(message.createReply(QVariant::fromValue(QDBusVariant(version))));
    }
    note(message);
    if (message.member() == refused) {
        return connection.send(message.createErrorReply(QDBusError::AccessDenied, u"Not allowed"_s));
    }
    if (!questions.contains(message.member())) {
        return connection.send(message.createReply());
    }
    const QString request = pathOf(u"request"_s, message, optionsOf(message)[u"handle_token"_s]);
    connection.send(message.createReply(QVariant::fromValue(QDBusObjectPath(request))));
    const Answer granted = standardAnswer(message);
    if (const std::optional<Answer> answer = answers.value(message.member(), granted)) {
        QDBusMessage response =
            QDBusMessage::createSignal(request, u"org.freedesktop.portal.Request"_s, u"Response"_s);
        connection.send(response << answer->result << answer->details);
    }
    return true;
}

void FakePortal::note(const QDBusMessage &message)
{
    QString call = message.member();
    for (const QVariant &argument : message.arguments()) {
        if (argument.typeId() == QMetaType::Int || argument.typeId() == QMetaType::UInt) {
            call += u' ' + argument.toString();
        }
    }
    m_calls.append(call);
    m_options[message.member()] = optionsOf(message);
}

FakePortal::Answer FakePortal::standardAnswer(const QDBusMessage &question)
{
    if (question.member() == u"CreateSession") {
        m_session = pathOf(u"session"_s, question, optionsOf(question)[u"session_handle_token"_s]);
        return {0, {{u"session_handle"_s, m_session}}};
    }
    if (question.member() == u"Start") {
        return {0, {{u"devices"_s, 1U}, {u"restore_token"_s, u"74e1cb0a-5f67-4bd9-8b4e-6c2a3ef2a9b1"_s}}};
    }
    return {};
}

} // namespace kavrin::test
