// SPDX-License-Identifier: MIT
// How long the settings take to show a page, and to follow a dragged slider: milliseconds to the next frame,
// on the offscreen platform, which draws in software.
#include "doubles/FakeContacts.h"
#include "doubles/FakeDesktop.h"
#include "screens/SettingsModel.h"
#include "screens/SymbolImageProvider.h"
#include "store/Shared.h"
#include "support/PrivateHome.h"
#include "support/QmlWindow.h"
#include "support/Wait.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QSysInfo>
#include <QtTest/QTest>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace
{

using namespace kavrin;
using namespace kavrin::test;
using namespace Qt::StringLiterals;

/// The milliseconds from `begin` to the end of the next frame.
double millisecondsToFrame(QQuickView &view, const std::function<void()> &begin)
{
    bool shown = false;
    const auto connection = QObject::connect(&view, &QQuickWindow::frameSwapped, [&shown] { shown = true; });
    QElapsedTimer timer;
    timer.start();
    begin();
    if (!waitUntil([&shown] { return shown; })) {
        qFatal("no frame came");
    }
    QObject::disconnect(connection);
    return double(timer.nsecsElapsed()) / 1e6;
}

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

void print(const QString &what, const std::vector<double> &values, const char *goal)
{
    std::printf("  %-44s %8.1f %8.1f   %s\n", qPrintable(what), median(values),
                *std::ranges::max_element(values), goal);
}

void measureOpening(SettingsModel &settings)
{
    for (const Prefs::Page &page : Prefs::pages()) {
        std::vector<double> openings;
        for (int round = 0; round < 10; ++round) {
            QmlWindow window(u"Kavrin.Screens"_s, u"SettingsView"_s,
                             {{u"settings"_s, QVariant::fromValue(&settings)}}, QSize(420, 760));
            window.view().engine()->addImageProvider(u"symbol"_s, new SymbolImageProvider);
            QQuickItem *row = window.item(page.title);
            openings.push_back(
                millisecondsToFrame(window.view(), [&] { QMetaObject::invokeMethod(row, "clicked"); }));
        }
        print(u"opening \"%1\""_s.arg(page.title), openings, "at most 60");
    }
}

void measureDragging(SettingsModel &settings)
{
    const std::unique_ptr<PageModel> page(settings.makePage(u"layout"_s));
    QmlWindow window(u"Kavrin.Screens"_s, u"PageView"_s,
                     {{u"page"_s, QVariant::fromValue(page.get())},
                      {u"actions"_s, QVariant::fromValue(settings.actions())}},
                     QSize(420, 760));
    QQuickItem *slider = window.item(u"Key height"_s);
    const auto at = [slider](int value) {
        const double share = (value - 36) / 44.0;
        return slider->mapToScene(QPointF(12 + share * (slider->width() - 24), slider->height() / 2))
            .toPoint();
    };
    QTest::mousePress(&window.view(), Qt::LeftButton, Qt::NoModifier, at(36));
    std::vector<double> frames;
    int written = 0;
    for (int value = 37; value <= 80; ++value) {
        frames.push_back(
            millisecondsToFrame(window.view(), [&] { QTest::mouseMove(&window.view(), at(value)); }));
        written += Shared::d().object(u"rowH"_s) == PropertyListValue(double(value)) ? 1 : 0;
    }
    QTest::mouseRelease(&window.view(), Qt::LeftButton, Qt::NoModifier, at(80));
    print(u"a step of a dragged slider (%1 of 44 written)"_s.arg(written), frames, "at most 33");
}

} // namespace

int main(int argc, char **argv)
{
    const PrivateHome home;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    Journal journal;
    FakePasteboard pasteboard(journal);
    FakeContacts contacts;
    SettingsModel settings(pasteboard, contacts);
    std::printf("Pages on %s (milliseconds to the first frame: median, longest)\n",
                qPrintable(QSysInfo::machineHostName()));
    measureOpening(settings);
    measureDragging(settings);
    return 0;
}
