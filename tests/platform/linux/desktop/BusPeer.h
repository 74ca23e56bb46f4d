// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>
#include <QVariantList>

namespace kavrin::test
{

/// Another program on the bus, as it calls an object and hears its signals. What comes over the bus is told
/// as text: the values one after the other, a structure in "()", an array in "[]", a map in "{}", bytes in
/// hexadecimal.
class BusPeer : public QObject
{
    Q_OBJECT

public:
    /// `service` is whose object it is, `interface` the one meant in all that follows.
    BusPeer(QDBusConnection bus, QString service, QString path, QString interface);

    /// What a method returns, or the name of the error.
    QString call(const QString &method, const QVariantList &arguments = {});

    QString property(const QString &name);

    /// The same for a call that is another interface's.
    QDBusMessage ask(const QString &interface, const QString &method, const QVariantList &arguments);

    /// The signals that have come since the last look.
    QStringList takeSignals();

private:
    Q_SLOT void note(const QDBusMessage &signal);

    QDBusConnection m_bus;
    QString m_service;
    QString m_path;
    QString m_interface;
    QStringList m_signals;
};

} // namespace kavrin::test
