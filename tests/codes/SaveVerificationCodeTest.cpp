// SPDX-License-Identifier: MIT
#include "codes/SaveVerificationCode.h"

#include "store/Shared.h"
#include "support/Wait.h"

#include <QDir>

#include <gtest/gtest.h>

#include <thread>

using namespace kavrin;
using namespace Qt::StringLiterals;

namespace
{

/// Runs the action and waits for its end; what it throws would come out here.
void perform(const QString &message)
{
    const auto run = [&]() -> QCoro::Task<bool> {
        const QCoro::Task<> action = SaveVerificationCode{message}.perform();
        co_await action;
        co_return true;
    };
    EXPECT_TRUE(test::await(run()));
}

} // namespace

TEST(SaveVerificationCode, NamesItselfAndItsParameter)
{
    EXPECT_EQ(SaveVerificationCode::title(), u"Save verification code");
    EXPECT_EQ(SaveVerificationCode::textTitle(), u"Message");
    EXPECT_EQ(SaveVerificationCode().text, u"");
}

TEST(SaveVerificationCode, StoresTheCodeOfAMessage)
{
    perform(u"Your code is 482913."_s);
    EXPECT_EQ(Shared::d().object(u"otpCode"_s), PropertyListValue(u"482913"_s));
    EXPECT_EQ(Shared::d().object(u"otpSource"_s), PropertyListValue(u"message"_s));
    EXPECT_EQ(Shared::d().object(u"otpUsed"_s), PropertyListValue(false));
}

TEST(SaveVerificationCode, StoresNothingForAMessageWithoutACode)
{
    for (const QString &message : {QString(), u""_s, u"See you at seven"_s, QString(1'000'000, u'1')}) {
        perform(message);
    }
    EXPECT_EQ(Shared::d().dictionaryRepresentation().value, PropertyListDictionary());
}

TEST(SaveVerificationCode, IsDoneWhenPerformReturns)
{
    const QCoro::Task<> action = SaveVerificationCode{u"482913"_s}.perform();
    EXPECT_TRUE(action.isReady());
    EXPECT_EQ(Shared::d().object(u"otpPure"_s), PropertyListValue(true));
}

TEST(SaveVerificationCode, EachRunIsIndependent)
{
    const SaveVerificationCode first{u"code 1111"_s};
    const SaveVerificationCode second{u"code 2222"_s};
    const QCoro::Task<> secondRun = second.perform();
    const QCoro::Task<> firstRun = first.perform();
    EXPECT_EQ(Shared::d().object(u"otpCode"_s), PropertyListValue(u"1111"_s));
}

TEST(SaveVerificationCode, SucceedsWhereNothingCanBeStored)
{
    // Folders where the files should be.
    const QDir data(qEnvironmentVariable("XDG_DATA_HOME"));
    data.mkpath(u"app-groups/group.app.kavrin.shared/defaults.sqlite"_s);
    data.mkpath(u"app.kavrin.Kavrin/defaults.sqlite"_s);
    perform(u"Your code is 482913."_s);
    EXPECT_EQ(Shared::d().object(u"otpCode"_s), std::nullopt);
}
