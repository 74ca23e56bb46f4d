// SPDX-License-Identifier: MIT
// The preference store beside QSettings, which an application would otherwise use for the same.
#include "store/Prefs.h"
#include "store/Shared.h"
#include "support/PrivateHome.h"

#include <QSettings>

#include <benchmark/benchmark.h>

using namespace kavrin;
using namespace Qt::StringLiterals;

namespace
{

void prefsCachedRead(benchmark::State &state)
{
    const QString key = u"rowH"_s;
    Prefs::set(key, 60.0);
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(Prefs::get<double>(key));
    }
}
BENCHMARK(prefsCachedRead);

void settingsRead(benchmark::State &state)
{
    QSettings settings(qEnvironmentVariable("HOME") + u"/settings.ini"_s, QSettings::IniFormat);
    settings.setValue(u"rowH"_s, 60.0);
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(settings.value(u"rowH"_s).toDouble());
    }
}
BENCHMARK(settingsRead);

void prefsSet(benchmark::State &state)
{
    double value = 0;
    while (state.KeepRunning()) {
        Prefs::set(u"rowH"_s, value += 1);
    }
}
BENCHMARK(prefsSet);

void settingsSetAndSync(benchmark::State &state)
{
    QSettings settings(qEnvironmentVariable("HOME") + u"/settings.ini"_s, QSettings::IniFormat);
    double value = 0;
    while (state.KeepRunning()) {
        settings.setValue(u"rowH"_s, value += 1);
        settings.sync();
    }
}
BENCHMARK(settingsSetAndSync);

void suiteRead(benchmark::State &state)
{
    Shared::d().set(u"dictationCommand"_s, QString());
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(Shared::d().string(u"dictationCommand"_s));
    }
}
BENCHMARK(suiteRead);

void suiteSet(benchmark::State &state)
{
    double value = 0;
    while (state.KeepRunning()) {
        Shared::d().set(u"dictationAlive"_s, value += 1);
    }
}
BENCHMARK(suiteSet);

} // namespace

int main(int argc, char **argv)
{
    const test::PrivateHome home;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
