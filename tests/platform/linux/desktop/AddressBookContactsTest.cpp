// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/AddressBookContacts.h"

#include "platform/UserDefaults.h"
#include "support/LockedDefaults.h"
#include "support/Paths.h"
#include "support/PrivateBus.h"
#include "support/Suite.h"
#include "support/Wait.h"
#include "support/WaitingWrite.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <optional>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;
using Status = Contacts::AuthorizationStatus;

const QString addressBook = u"org.gnome.evolution.dataserver.AddressBook10"_s;

/// A session bus of the test's own.
class Session
{
public:
    /// The address book runs.
    void start() { m_bus.connection().registerService(addressBook); }

    /// The bus lets nobody talk to the address book.
    void deny()
    {
        configure(
            u"<policy context=\"mandatory\"><deny send_destination=\"%1\"/></policy>"_s.arg(addressBook));
    }

    /// The address book is installed, and runs when it is asked for.
    void install()
    {
        const QString folder = QDir::home().filePath(u"services"_s);
        QDir().mkpath(folder);
        write(folder + u"/address-book.service"_s,
              u"[D-BUS Service]\nName=%1\nExec=%2 claim %1\n"_s.arg(addressBook,
                                                                    helperPath("application_instance")));
        configure(u"<servicedir>%1</servicedir>"_s.arg(folder));
    }

private:
    static void write(const QString &path, const QString &text)
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text.toUtf8());
    }

    void configure(const QString &more)
    {
        QFile file(qEnvironmentVariable("XDG_RUNTIME_DIR") + u"/DBUS_SESSION_BUS_ADDRESS.conf"_s);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QString configuration = QString::fromUtf8(file.readAll());
        write(file.fileName(), QString(configuration).replace(u"</busconfig>"_s, more + u"</busconfig>"_s));
        const QDBusMessage reply = m_bus.connection().call(
            QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                           u"org.freedesktop.DBus"_s, u"ReloadConfig"_s));
        ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage) << qPrintable(reply.errorMessage());
    }

    PrivateBus m_bus = PrivateBus("DBUS_SESSION_BUS_ADDRESS");
};

/// Whether a request comes to an end, and not before it has returned.
bool request(AddressBookContacts &contacts)
{
    bool isComplete = false;
    contacts.requestAccess([&] { isComplete = true; });
    return !isComplete && waitUntil([&] { return isComplete; });
}

std::optional<PropertyListValue> remembered()
{
    return UserDefaults::standard().object(u"contactsAuthorization"_s);
}

} // namespace

TEST(AddressBookContacts, AreNotAskedForWithoutARequest)
{
    Session session;
    session.start();
    const AddressBookContacts contacts;
    EXPECT_EQ(contacts.authorizationStatus(), Status::NotDetermined);
    EXPECT_EQ(remembered(), std::nullopt);
}

TEST(AddressBookContacts, AreAllowedWhereTheAddressBookAnswers)
{
    Session session;
    session.start();
    AddressBookContacts contacts;
    EXPECT_TRUE(request(contacts));
    EXPECT_EQ(contacts.authorizationStatus(), Status::Authorized);
    EXPECT_EQ(remembered(), PropertyListValue(qint64(3)));
}

TEST(AddressBookContacts, StartTheAddressBook)
{
    Session session;
    session.install();
    AddressBookContacts contacts;
    EXPECT_TRUE(request(contacts));
    EXPECT_EQ(contacts.authorizationStatus(), Status::Authorized);
}

TEST(AddressBookContacts, AreDeniedWhereTheBusForbidsThem)
{
    Session session;
    session.start();
    session.deny();
    AddressBookContacts contacts;
    EXPECT_TRUE(request(contacts));
    EXPECT_EQ(contacts.authorizationStatus(), Status::Denied);
    EXPECT_EQ(remembered(), PropertyListValue(qint64(2)));
}

TEST(AddressBookContacts, AreRestrictedUntilTheNextStartWhereThereIsNoAddressBook)
{
    Session session;
    AddressBookContacts contacts;
    EXPECT_TRUE(request(contacts));
    EXPECT_EQ(contacts.authorizationStatus(), Status::Restricted);
    EXPECT_EQ(remembered(), std::nullopt);

    session.start();
    EXPECT_TRUE(request(contacts));
    EXPECT_EQ(contacts.authorizationStatus(), Status::Restricted);
    AddressBookContacts afterTheNextStart;
    EXPECT_TRUE(request(afterTheNextStart));
    EXPECT_EQ(afterTheNextStart.authorizationStatus(), Status::Authorized);
}

TEST(AddressBookContacts, AreRestrictedWhereThereIsNoBus)
{
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere");
    AddressBookContacts contacts;
    EXPECT_TRUE(request(contacts));
    EXPECT_EQ(contacts.authorizationStatus(), Status::Restricted);
    EXPECT_EQ(remembered(), std::nullopt);
}

TEST(AddressBookContacts, StayAsTheyWereSettled)
{
    Session session;
    session.start();
    for (const Status status : {Status::Denied, Status::Authorized}) {
        SCOPED_TRACE(int(status));
        test::put(UserDefaults::standard(), u"contactsAuthorization"_s, qint64(status));
        AddressBookContacts contacts;
        EXPECT_EQ(contacts.authorizationStatus(), status);
        EXPECT_TRUE(request(contacts));
        EXPECT_EQ(contacts.authorizationStatus(), status);
    }
}

TEST(AddressBookContacts, AreSettledWithoutWaitingUntilTheAnswerCanBeStored)
{
    Session session;
    session.start();
    LockedDefaults locked;
    const WaitingWrite write(UserDefaults::standard());
    AddressBookContacts contacts;
    EXPECT_TRUE(request(contacts));
    EXPECT_TRUE(write.isWaiting());
    EXPECT_EQ(contacts.authorizationStatus(), Status::Authorized);
    EXPECT_EQ(remembered(), std::nullopt);
    locked.unlock();
}

TEST(AddressBookContacts, AreAskedForWhereWhatIsRememberedIsNoAnswer)
{
    Session session;
    session.start();
    for (const PropertyListValue &value :
         {PropertyListValue(qint64(0)), PropertyListValue(qint64(1)), PropertyListValue(qint64(4)),
          PropertyListValue(true), PropertyListValue(u"3"_s)}) {
        test::put(UserDefaults::standard(), u"contactsAuthorization"_s, value);
        EXPECT_EQ(AddressBookContacts().authorizationStatus(), Status::NotDetermined);
    }
}

TEST(AddressBookContacts, CompleteEveryRequestThatIsUnderWay)
{
    Session session;
    session.start();
    AddressBookContacts contacts;
    QStringList completed;
    contacts.requestAccess([&] { completed.append(u"first"_s); });
    contacts.requestAccess([&] { completed.append(u"second"_s); });
    EXPECT_TRUE(completed.isEmpty());
    EXPECT_TRUE(waitUntil([&] { return completed.size() == 2; }));
    EXPECT_EQ(completed, QStringList({u"first"_s, u"second"_s}));
    EXPECT_TRUE(request(contacts));
    EXPECT_EQ(completed.size(), 2);
}

TEST(AddressBookContacts, TakeARequestFromACompletion)
{
    Session session;
    session.start();
    AddressBookContacts contacts;
    bool isComplete = false;
    contacts.requestAccess([&] { contacts.requestAccess([&] { isComplete = true; }); });
    EXPECT_TRUE(waitUntil([&] { return isComplete; }));
}

TEST(AddressBookContacts, CompleteNothingOnceTheyAreDestroyed)
{
    Session session;
    session.start();
    std::optional<AddressBookContacts> contacts(std::in_place);
    int completions = 0;
    contacts->requestAccess([&] { ++completions; });
    contacts.reset();
    AddressBookContacts others;
    EXPECT_TRUE(request(others));
    EXPECT_EQ(completions, 0);
}

} // namespace kavrin::test
