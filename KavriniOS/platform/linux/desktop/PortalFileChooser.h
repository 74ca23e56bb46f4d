// SPDX-License-Identifier: MIT
#pragma once

#include "platform/FileChooser.h"

#include <QDBusConnection>
#include <QVariantMap>

namespace kavrin
{

/// The dialogs of the desktop's portal (org.freedesktop.portal.FileChooser). In a sandbox, they also let this
/// application reach the file.
class PortalFileChooser : public FileChooser
{
public:
    /// `bus` is the session bus.
    explicit PortalFileChooser(QDBusConnection bus = QDBusConnection::sessionBus());

    QCoro::Task<QString> fileToOpen(QString title) override;
    QCoro::Task<QString> fileToSave(QString title, QString name) override;

private:
    static QCoro::Task<QString> choose(QDBusConnection bus, QString method, QString title,
                                       QVariantMap options);

    QDBusConnection m_bus;
};

} // namespace kavrin
