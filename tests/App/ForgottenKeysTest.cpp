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

class ShownText : public Notifications
{
public:
    void show(const QString &, const QString &text, const QString &) override { last = text; }
    [[nodiscard]] bool isPending() const override { return false; }

    QString last;
};

} // namespace

TEST(ForgottenKeys, AreMaskedInTheFailureThatIsReportedNextAndNotLater)
{
    ShownText shown;
    FailureNotices notices(shown);
    test::put(Shared::d(), u"customKey"_s, u"sent-4711"_s);
    notices.rememberKeys();
    test::put(Shared::d(), u"customKey"_s, u"stored-4712"_s);
    notices.forgetKeysSoon();
    notices.report(u"sent-4711 stored-4712"_s);
    EXPECT_EQ(shown.last, u"••• •••");
    EXPECT_TRUE(test::waitUntil([&] {
        notices.report(u"sent-4711 stored-4712"_s);
        return shown.last == u"sent-4711 •••";
    }));
}
