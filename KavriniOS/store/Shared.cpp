// SPDX-License-Identifier: MIT
#include "store/Shared.h"

#include "platform/Bundle.h"
#include "platform/FileManager.h"
#include "platform/Logging.h"
#include "store/ApplicationGroups.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

/// The application groups that the embedded provisioning profile grants.
ApplicationGroups profileGroups()
{
    const std::optional<QString> path = Bundle::resourcePath(u"embedded"_s, u"mobileprovision"_s);
    QFile file(path.value_or(QString()));
    if (!path || !file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return grantedGroups(file.readAll());
}

int rank(const QString &group)
{
    if (group == Shared::builtInGroup()) {
        return 0;
    }
    return group.startsWith(Shared::builtInGroup()) ? 1 : 2;
}

bool isPreferred(const QString &left, const QString &right)
{
    const int leftRank = rank(left);
    const int rightRank = rank(right);
    return leftRank != rightRank ? leftRank < rightRank : left < right;
}

std::optional<QString> resolveGroup()
{
    ApplicationGroups candidates = profileGroups();
    std::stable_sort(candidates.begin(), candidates.end(), isPreferred);

    const std::optional<PropertyListValue> alternatives = Bundle::infoValue(u"ALTAppGroups"_s);
    if (alternatives) {
        const ApplicationGroups groups = listedGroups(&*alternatives);
        candidates.insert(candidates.end(), groups.begin(), groups.end());
    }
    candidates.push_back(Shared::builtInGroup());

    const auto found = std::find_if(candidates.begin(), candidates.end(), [](const QString &group) {
        return FileManager::containerPath(group).has_value();
    });
    const std::optional<QString> group = found == candidates.end() ? std::nullopt : std::optional(*found);
    qCInfo(Logging::store) << "Group:" << group.value_or(u"none, the settings are private"_s);
    return group;
}

/// The group's suite, or null.
UserDefaults *groupSuite()
{
    // Never destroyed: threads of the loopback server may use it until the process has ended.
    static UserDefaults *const suite =
        Shared::group() ? UserDefaults::suite(*Shared::group()).release() : nullptr;
    return suite;
}

} // namespace

const QString &Shared::builtInGroup()
{
    static const QString group = u"group.app.kavrin.shared"_s;
    return group;
}

const std::optional<QString> &Shared::group()
{
    static const std::optional<QString> group = resolveGroup();
    return group;
}

UserDefaults &Shared::d()
{
    UserDefaults *const suite = groupSuite();
    return suite != nullptr ? *suite : UserDefaults::standard();
}

QString Shared::lockPath()
{
    return QFileInfo(d().path()).path() + u"/application.lock"_s;
}

bool Shared::isShared()
{
    return groupSuite() != nullptr;
}

} // namespace kavrin
