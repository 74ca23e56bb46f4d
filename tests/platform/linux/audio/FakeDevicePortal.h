// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusObjectPath>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

namespace kavrin::test
{

/// A question that the portal asks the user.
class FakePortalRequest : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Request")

public:
    bool isClosed = false;

    Q_SLOT void Close() { isClosed = true; }
};

/// Stands for org.freedesktop.portal.Device of the desktop's portal and answers as it is told.
class FakeDevicePortal : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Device")

public:
    enum class Behaviour {
        AnswersFirst, ///< the answer is on its way before the call returns
        AnswersLater, ///< the test gives the answer with respond()
        ChoosesThePath, ///< as before version 0.9; the test gives the answer with respond()
        Refuses, ///< the call fails
    };

    FakeDevicePortal(QDBusConnection bus, Behaviour behaviour, uint result);
    ~FakeDevicePortal() override;

    /// Sends the answer to the question that came.
    void respond();

    [[nodiscard]] bool isClosed() const { return m_question.isClosed; }
    [[nodiscard]] bool wasAsked() const { return m_processId != 0; }
    [[nodiscard]] uint processId() const { return m_processId; }
    [[nodiscard]] const QStringList &devices() const { return m_devices; }

    Q_SLOT QDBusObjectPath AccessDevice(uint processId, const QStringList &devices,
                                        const QVariantMap &options);

private:
    QDBusConnection m_bus;
    Behaviour m_behaviour;
    uint m_result;
    uint m_processId = 0;
    QStringList m_devices;
    QString m_request;
    FakePortalRequest m_question;
};

} // namespace kavrin::test
