// SPDX-License-Identifier: MIT
#include "App/FailureNotices.h"
#include "store/Shared.h"
#include "support/Suite.h"
#include "support/Wait.h"

#include <gtest/gtest.h>

using namespace kavrin;
using namespace Qt::StringLiterals;

namespace
{

class ShownNotifications : public Notifications
{
public:
    QString text;

    void show(const QString &, const QString &shown, const QString &, const QString & /*button*/) override
    {
        text = shown;
    }
    void withdrawButton() override { }
    [[nodiscard]] bool isPending() const override { return false; }
};

struct FailureNoticesTest : testing::Test {
    ShownNotifications notifications;
    FailureNotices notices{notifications};

    QString shown(const QString &message)
    {
        notices.report(message);
        return notifications.text;
    }
};

} // namespace

TEST_F(FailureNoticesTest, MasksKeysOfEightAndMoreCharacters)
{
    const std::pair<QString, QString> rows[] = {
        {u"n"_s, u"Error: No server named 1234567, 12345678"_s},
        {u"1234567"_s, u"Error: No server named 1234567, 12345678"_s},
        {u"12345678"_s, u"Error: No server named 1234567, •••"_s},
        {u" 12345678\n"_s, u"Error: No server named 1234567, •••"_s},
    };
    for (const auto &[key, text] : rows) {
        test::put(Shared::d(), u"customKey"_s, key);
        EXPECT_EQ(shown(u"Error: No server named 1234567, 12345678"_s), text) << key.toStdString();
    }
}

TEST_F(FailureNoticesTest, MasksTheKeysThatWereInForceWhenSomethingWasSentAndThoseThatAreNow)
{
    for (const QString &key : {u"key-one-ago"_s, u"key-then"_s}) {
        test::put(Shared::d(), u"customKey"_s, key);
        notices.rememberKeys();
    }
    test::put(Shared::d(), u"customKey"_s, u"key-half-typed"_s);
    test::put(Shared::d(), u"customKey"_s, u"key-now-"_s);
    EXPECT_EQ(shown(u"key-one-ago key-then key-half-typed key-now-"_s),
              u"key-one-ago ••• key-half-typed •••");
}

TEST_F(FailureNoticesTest, ForgetsTheKeysThatWereSentOnceTheirFailureIsReported)
{
    const QString message = u"sent-4711 stored-4712"_s;
    test::put(Shared::d(), u"customKey"_s, u"sent-4711"_s);
    notices.rememberKeys();
    test::put(Shared::d(), u"customKey"_s, u"stored-4712"_s);
    notices.forgetKeysSoon();
    EXPECT_EQ(shown(message), u"••• •••");
    EXPECT_TRUE(test::waitUntil([&] { return shown(message) == u"sent-4711 •••"; }));
}
