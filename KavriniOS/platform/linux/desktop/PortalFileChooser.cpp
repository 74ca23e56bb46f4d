// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/PortalFileChooser.h"

#include "platform/linux/PortalRequest.h"

#include <QUrl>

#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

PortalFileChooser::PortalFileChooser(QDBusConnection bus) : m_bus(std::move(bus)) { }

QCoro::Task<QString> PortalFileChooser::fileToOpen(QString title)
{
    return choose(m_bus, u"OpenFile"_s, std::move(title), {});
}

QCoro::Task<QString> PortalFileChooser::fileToSave(QString title, QString name)
{
    return choose(m_bus, u"SaveFile"_s, std::move(title), {{u"current_name"_s, name}});
}

QCoro::Task<QString> PortalFileChooser::choose(QDBusConnection bus, QString method, QString title,
                                               QVariantMap options)
{
    QDBusMessage question = PortalRequest::message(u"org.freedesktop.portal.FileChooser"_s, method);
    question << QString() << title; // the dialog stands above no certain window
    const QCoro::Task<PortalRequest::Answer> asked = PortalRequest::ask(bus, question, options, {});
    const PortalRequest::Answer answer = co_await asked;
    const QStringList chosen = answer.details.value(u"uris"_s).toStringList();
    co_return answer.result == PortalRequest::granted ? QUrl(chosen.value(0)).toLocalFile() : QString();
}

} // namespace kavrin
