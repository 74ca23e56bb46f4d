// SPDX-License-Identifier: MIT
#include "platform/linux/storage/DamageReports.h"

#include <QStringList>

#include <algorithm>
#include <mutex>
#include <utility>

namespace kavrin::DamageReports
{

namespace
{

struct Reports {
    std::mutex mutex;
    std::function<void(const QString &)> listener;
    QStringList untold;
};

Reports &reports()
{
    // Never destroyed: threads may use it until the process has ended.
    static auto *const reports = new Reports;
    return *reports;
}

} // namespace

void add(const QString &text)
{
    const std::scoped_lock lock(reports().mutex);
    if (reports().listener) {
        reports().listener(text);
    } else {
        reports().untold.append(text);
    }
}

void listen(std::function<void(const QString &)> listener)
{
    const std::scoped_lock lock(reports().mutex);
    reports().listener = std::move(listener);
    if (reports().listener) {
        std::ranges::for_each(std::exchange(reports().untold, {}), reports().listener);
    }
}

} // namespace kavrin::DamageReports
