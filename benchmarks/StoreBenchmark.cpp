// SPDX-License-Identifier: MIT
// Measures the preference store beside QSettings, which an application would otherwise use for the same.
// Measures the exported text, and the walk through the catalogue, beside the least that they can cost.
#include "StoredSettings.h"
#include "support/PrivateHome.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <benchmark/benchmark.h>

using namespace kavrin;
using namespace kavrin::benchmarks;
using namespace Qt::StringLiterals;

namespace
{

QString home()
{
    return qEnvironmentVariable("HOME");
}

double readPrefs(const QString &key)
{
    return Prefs::get<double>(key);
}

double readSettings(const QString &key)
{
    static const QSettings settings(iniPath(home()), QSettings::IniFormat);
    return settings.value(key).toDouble();
}

/// Like an application that reads in many places: several threads must not use one QSettings.
double readNewSettings(const QString &key)
{
    static const QString path = iniPath(home());
    return QSettings(path, QSettings::IniFormat).value(key).toDouble();
}

template <double (*Read)(const QString &)> void readAgain(benchmark::State &state)
{
    const QString key = u"rowH"_s;
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(Read(key));
    }
}
BENCHMARK(readAgain<readPrefs>)->Name("prefsRead");
BENCHMARK(readAgain<readSettings>)->Name("settingsRead");
BENCHMARK(readAgain<readNewSettings>)->Name("newSettingsRead");

/// So many QStrings of one key that no cache holds all of them.
template <double (*Read)(const QString &)> void readByOthers(benchmark::State &state)
{
    std::vector<QString> keys(1000);
    std::ranges::generate(keys, [] { return QString::fromLatin1("rowH"); });
    std::size_t next = 0;
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(Read(keys[next]));
        next = (next + 1) % keys.size();
    }
}
BENCHMARK(readByOthers<readPrefs>)->Name("prefsReadByOthers");
BENCHMARK(readByOthers<readSettings>)->Name("settingsReadByOthers");
BENCHMARK(readByOthers<readNewSettings>)->Name("newSettingsReadByOthers");

void prefsSet(benchmark::State &state)
{
    const QString key = u"rowH"_s;
    double value = 0;
    while (state.KeepRunning()) {
        Prefs::set(key, value += 1);
    }
}
BENCHMARK(prefsSet);

void settingsSetAndSync(benchmark::State &state)
{
    QSettings settings(iniPath(home()), QSettings::IniFormat);
    const QString key = u"rowH"_s;
    double value = 0;
    while (state.KeepRunning()) {
        settings.setValue(key, value += 1);
        settings.sync();
    }
}
BENCHMARK(settingsSetAndSync)->UseRealTime(); // QSettings::sync() waits for the disk

void prefsExport(benchmark::State &state)
{
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(Prefs::exportBlob());
    }
}
BENCHMARK(prefsExport);

void plainExport(benchmark::State &state)
{
    const QVariantMap all = content();
    while (state.KeepRunning()) {
        const QByteArray body =
            QJsonDocument(QJsonObject::fromVariantMap(all)).toJson(QJsonDocument::Compact);
        benchmark::DoNotOptimize(u"KAVRINCFG1:"_s + QString::fromLatin1(body.toBase64()));
    }
}
BENCHMARK(plainExport);

/// The part of an item's value that a row of a screen shows.
struct Shown {
    const QString &key;

    void operator()(const catalogue::Toggle & /*toggle*/) const
    {
        benchmark::DoNotOptimize(Prefs::get<bool>(key));
    }
    void operator()(const catalogue::Slider &slider) const
    {
        benchmark::DoNotOptimize(Prefs::format(Prefs::get<double>(key), slider.unit));
    }
    void operator()(const catalogue::Choice &choice) const
    {
        const QString value = Prefs::get<QString>(key);
        benchmark::DoNotOptimize(std::ranges::find(choice.options, value, &Prefs::Opt::v));
    }
    void operator()(const catalogue::Text & /*text*/) const
    {
        benchmark::DoNotOptimize(Prefs::get<QString>(key));
    }
    void operator()(const catalogue::Action & /*action*/) const { }
};

template <typename Show> void walk(const std::vector<Prefs::Page> &pages, Show show)
{
    for (const Prefs::Page &page : pages) {
        for (const Prefs::Sect &section : page.sections) {
            for (const Prefs::Item &item : section.items) {
                show(item);
            }
        }
    }
}

void catalogueWalk(benchmark::State &state)
{
    while (state.KeepRunning()) {
        walk(Prefs::pages(), [](const Prefs::Item &item) {
            benchmark::DoNotOptimize(Prefs::isVisible(item.key));
            std::visit(Shown{item.key}, item.kind);
        });
    }
}
BENCHMARK(catalogueWalk);

void plainWalk(benchmark::State &state)
{
    const QVariantMap all = content();
    const QVariantHash values(QVariantHash(all.cbegin(), all.cend()));
    while (state.KeepRunning()) {
        walk(Prefs::pages(),
             [&values](const Prefs::Item &item) { benchmark::DoNotOptimize(values.value(item.key)); });
    }
}
BENCHMARK(plainWalk);

} // namespace

int main(int argc, char **argv)
{
    const test::PrivateHome privateHome;
    benchmark::Initialize(&argc, argv);
    fillSuite();
    fillIni(home());
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
