// SPDX-License-Identifier: MIT
#include "tools/typist/SessionLock.h"

#include "support/PrivateBus.h"
#include "support/Wait.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>

#include <gtest/gtest.h>

#include <optional>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

/// Gives one answer to whatever it is asked, or none.
class Oracle : public QDBusVirtualObject
{
public:
    Oracle(QDBusConnection bus, const QString &service, std::optional<QVariant> answer)
        : m_bus(std::move(bus)), m_answer(std::move(answer))
    {
        m_bus.registerVirtualObject(u"/"_s, this, QDBusConnection::SubPath);
        m_bus.registerService(service);
    }

    ~Oracle() override { m_bus.unregisterObject(u"/"_s, QDBusConnection::UnregisterTree); }

    [[nodiscard]] QString introspect(const QString & /*path*/) const override { return {}; }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        return !m_answer || connection.send(message.createReply(*m_answer));
    }

private:
    QDBusConnection m_bus;
    std::optional<QVariant> m_answer;
};

struct SessionLockTest : testing::Test {
    const PrivateBus system{"DBUS_SYSTEM_BUS_ADDRESS"};
    const PrivateBus session{"DBUS_SESSION_BUS_ADDRESS"};
};

} // namespace

TEST_F(SessionLockTest, IsOpenIfNobodySaysOtherwise)
{
    EXPECT_FALSE(await(isSessionLocked()));
}

TEST_F(SessionLockTest, IsWhatTheScreenSaverSays)
{
    for (const QString &service : {u"org.freedesktop.ScreenSaver"_s, u"org.gnome.ScreenSaver"_s}) {
        for (const bool isLocked : {false, true}) {
            const Oracle screenSaver(session.connection(), service, isLocked);
            EXPECT_EQ(await(isSessionLocked()), isLocked) << service.toStdString();
        }
    }
}

TEST_F(SessionLockTest, IsWhatLogindSays)
{
    for (const bool isLocked : {false, true}) {
        const Oracle logind(system.connection(), u"org.freedesktop.login1"_s,
                            QVariant::fromValue(QDBusVariant(isLocked)));
        EXPECT_EQ(await(isSessionLocked()), isLocked);
    }
}

TEST_F(SessionLockTest, DoesNotWaitLongForAScreenSaverThatIsSilent)
{
    const Oracle screenSaver(session.connection(), u"org.freedesktop.ScreenSaver"_s, std::nullopt);
    const Oracle logind(system.connection(), u"org.freedesktop.login1"_s,
                        QVariant::fromValue(QDBusVariant(true)));
    EXPECT_TRUE(await(isSessionLocked()));
}

} // namespace kavrin::test
