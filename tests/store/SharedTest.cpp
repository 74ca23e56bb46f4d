// SPDX-License-Identifier: MIT
#include "store/Shared.h"
#include "support/Paths.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <set>
#include <thread>

using namespace kavrin;
using namespace Qt::StringLiterals;

namespace
{

const QByteArray builtIn = "group.app.kavrin.shared";
const QByteArray key = "com.apple.security.application-groups";

QByteArray plist(const QByteArray &body)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\">" + body + "</plist>";
}

QByteArray array(const QList<QByteArray> &groups)
{
    QByteArray body = "<array>";
    for (const QByteArray &group : groups) {
        body += "<string>" + group + "</string>";
    }
    return body + "</array>";
}

/// A provisioning profile: a property list between the bytes of a signature.
QByteArray profile(const QList<QByteArray> &groups)
{
    return QByteArray("\x30\x82\x01\x00\x06", 5)
        + plist("<dict><key>Entitlements</key><dict><key>" + key + "</key>" + array(groups)
                + "</dict></dict>")
        + QByteArray("\x00\xa0\xff", 3);
}

/// A program installed below a prefix of its own, whose bundle is as a packager made it.
class Installation
{
public:
    Installation(const QList<QByteArray> &entitled, const std::optional<QByteArray> &profile,
                 const QByteArray &info = "<dict/>")
    {
        QDir(m_prefix.path()).mkpath(u"bin"_s);
        QDir(m_prefix.path()).mkpath(u"share/kavrin"_s);
        QFile::copy(kavrin::test::programPath("kavrinctl"), m_prefix.filePath(u"bin/kavrinctl"_s));
        writeResource(u"entitlements.plist"_s,
                      plist("<dict><key>" + key + "</key>" + array(entitled) + "</dict>"));
        writeResource(u"Info.plist"_s, plist(info));
        if (profile) {
            writeResource(u"embedded.mobileprovision"_s, *profile);
        }
    }

    /// What a new process resolves.
    QJsonObject where()
    {
        QProcess process;
        process.start(m_prefix.filePath(u"bin/kavrinctl"_s), {u"where"_s, u"--json"_s});
        process.waitForFinished();
        exitedNormally = process.exitStatus() == QProcess::NormalExit;
        standardError = process.readAllStandardError();
        return QJsonDocument::fromJson(process.readAllStandardOutput()).object();
    }

    QString group() { return where().value(u"group"_s).toString(u"none"_s); }

    bool exitedNormally = false;
    QByteArray standardError;

private:
    void writeResource(const QString &name, const QByteArray &content)
    {
        QFile file(m_prefix.filePath(u"share/kavrin/"_s + name));
        file.open(QIODevice::WriteOnly);
        file.write(content);
    }

    QTemporaryDir m_prefix;
};

QByteArray alternatives(const QByteArray &value)
{
    return "<dict><key>ALTAppGroups</key>" + value + "</dict>";
}

} // namespace

TEST(Shared, TheFirstCandidateWithAContainerIsTheGroup)
{
    struct Row {
        const char *name;
        QList<QByteArray> entitled;
        std::optional<QByteArray> profile;
        QByteArray info;
        QString expected;
    };
    const QByteArray extra = builtIn + ".extra";
    const Row rows[] = {
        {"no profile: the built-in group",
         {builtIn, "group.other"},
         {},
         "<dict/>",
         u"group.app.kavrin.shared"_s},
        {"the built-in group comes first",
         {builtIn, extra, "group.a"},
         profile({"group.a", extra, builtIn}),
         "<dict/>",
         u"group.app.kavrin.shared"_s},
        {"then a group that begins like it",
         {extra, "group.a"},
         profile({"group.a", extra}),
         "<dict/>",
         u"group.app.kavrin.shared.extra"_s},
        {"whatever follows its name",
         {builtIn + "X", "group.a"},
         profile({"group.a", builtIn + "X"}),
         "<dict/>",
         u"group.app.kavrin.sharedX"_s},
        {"then the rest in ascending order",
         {"group.b", "group.a"},
         profile({"group.b", "group.a"}),
         "<dict/>",
         u"group.a"_s},
        {"a granted group without a container is passed over",
         {"group.b"},
         profile({"group.a", "group.b"}),
         "<dict/>",
         u"group.b"_s},
        {"the Info key is not sorted",
         {"group.a", "group.z"},
         {},
         alternatives(array({"group.z", "group.a"})),
         u"group.z"_s},
        {"the Info key comes before the built-in group",
         {builtIn, "group.z"},
         {},
         alternatives(array({"group.z"})),
         u"group.z"_s},
        {"the profile comes before the Info key",
         {"group.a", "group.z"},
         profile({"group.z"}),
         alternatives(array({"group.a"})),
         u"group.z"_s},
        {"none of the profile's: falls through to the Info key",
         {"group.z"},
         profile({"group.a"}),
         alternatives(array({"group.y", "group.z"})),
         u"group.z"_s},
        {"no container at all", {}, profile({"group.a"}), alternatives(array({"group.z"})), u"none"_s},
        {"an identifier that leads elsewhere",
         {"../../outside", "a/b", "group..a"},
         profile({"../../outside", "a/b", "group..a"}),
         "<dict/>",
         u"none"_s},
        {"an Info key that is not all strings",
         {"group.z", builtIn},
         {},
         alternatives("<array><string>group.z</string><integer>1</integer></array>"),
         u"group.app.kavrin.shared"_s},
        {"an Info key that is a string",
         {"group.z", builtIn},
         {},
         alternatives("<string>group.z</string>"),
         u"group.app.kavrin.shared"_s},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Installation(row.entitled, row.profile, row.info).group(), row.expected);
    }
}

TEST(Shared, AProfileThatCannotBeReadGrantsNothing)
{
    const auto entitlements = [](const QByteArray &value) {
        return plist("<dict><key>Entitlements</key>" + value + "</dict>");
    };
    const std::pair<const char *, QByteArray> rows[] = {
        {"empty", ""},
        {"no begin", "rubbish</plist>"},
        {"no end", "<?xml version=\"1.0\"?><plist><dict>"},
        {"no property list", "<?xml nonsense </plist>"},
        {"an array", plist(array({"group.a"}))},
        {"no entitlements", plist("<dict/>")},
        {"entitlements that are no dictionary", entitlements(array({"group.a"}))},
        {"no groups", entitlements("<dict/>")},
        {"groups in an array that is not closed",
         entitlements("<dict><key>" + key + "</key><array><string>group.a</string></dict>")},
        {"groups beside what is no value",
         entitlements("<dict><key>" + key + "</key><array><string>group.a</string>junk</array></dict>")},
        {"groups beside a broken value",
         entitlements("<dict><key>" + key + "</key>" + array({"group.a"})
                      + "<key>other</key><integer>one</integer></dict>")},
        {"groups that are a string",
         entitlements("<dict><key>" + key + "</key><string>group.a</string></dict>")},
        {"groups that are not all strings",
         entitlements("<dict><key>" + key + "</key><array><string>group.a</string><true/></array></dict>")},
    };
    for (const auto &[name, content] : rows) {
        SCOPED_TRACE(name);
        EXPECT_EQ(Installation({"group.a"}, content).group(), u"none");
    }
}

TEST(Shared, AProfileNeedsNoSignatureRoundItsPropertyList)
{
    const QByteArray bare = plist("<dict><key>Entitlements</key><dict><key>" + key + "</key>"
                                  + array({"group.a"}) + "</dict></dict>");
    EXPECT_EQ(Installation({"group.a"}, bare).group(), u"group.a");
}

TEST(Shared, TheFirstMarkersOfAProfileCount)
{
    const QByteArray twice = profile({"group.a"}) + profile({"group.b"});
    EXPECT_EQ(Installation({"group.a", "group.b"}, twice).group(), u"group.a");
}

TEST(Shared, AProfileThatEndsBeforeItBeginsStopsTheProgramWithAMessage)
{
    Installation installation({builtIn}, "</plist> " + profile({"group.a"}));
    installation.where();
    EXPECT_FALSE(installation.exitedNormally);
    EXPECT_TRUE(installation.standardError.contains("provisioning profile is malformed"));
}

TEST(Shared, TheSuiteIsTheGroupsWhereThereIsOne)
{
    const QJsonObject where = Installation({builtIn}, {}).where();
    EXPECT_TRUE(where.value(u"shared"_s).toBool());
    EXPECT_TRUE(where.value(u"suite"_s).toString().contains(u"/app-groups/group.app.kavrin.shared/"));
}

TEST(Shared, WithoutAGroupTheSuiteIsPrivate)
{
    const QJsonObject where = Installation({}, {}).where();
    EXPECT_TRUE(where.value(u"group"_s).isNull());
    EXPECT_FALSE(where.value(u"shared"_s).toBool());
    EXPECT_FALSE(where.value(u"suite"_s).toString().contains(u"app-groups"));
}

TEST(Shared, AGroupWhoseSuiteCannotBeOpenedLeavesThePrivateDefaults)
{
    const QString suite =
        qEnvironmentVariable("XDG_DATA_HOME") + u"/app-groups/group.app.kavrin.shared/defaults.sqlite"_s;
    QDir().mkpath(suite); // a folder where the file should be
    const QJsonObject where = Installation({builtIn}, {}).where();
    EXPECT_EQ(where.value(u"group"_s).toString(), u"group.app.kavrin.shared");
    EXPECT_FALSE(where.value(u"shared"_s).toBool());
    EXPECT_FALSE(where.value(u"suite"_s).toString().contains(u"app-groups"));
}

TEST(Shared, FirstUseFromSeveralThreadsGivesOneSuite)
{
    std::vector<UserDefaults *> seen(4);
    std::vector<std::thread> threads;
    threads.reserve(seen.size());
    for (UserDefaults *&suite : seen) {
        threads.emplace_back([&suite] { suite = &Shared::d(); });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(std::set<UserDefaults *>(seen.begin(), seen.end()).size(), 1);
}
