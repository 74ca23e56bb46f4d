// SPDX-License-Identifier: MIT
// Measures how long the settings take to show a page, to follow a dragged slider, to show what a search
// finds, and to show a key typed into the dictionary: milliseconds to the next frame, on the offscreen
// platform, which draws in software. Prints JSON.
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
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlExpression>
#include <QtTest/QTest>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace
{

using namespace kavrin;
using namespace kavrin::test;
using namespace Qt::StringLiterals;

constexpr int rounds = 10;

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

QJsonArray openings(SettingsModel &settings)
{
    QJsonArray pages;
    for (const Prefs::Page &page : Prefs::pages()) {
        std::vector<double> times;
        for (int round = 0; round < rounds; ++round) {
            QmlWindow window(u"Kavrin.Screens"_s, u"SettingsView"_s,
                             {{u"settings"_s, QVariant::fromValue(&settings)}}, QSize(420, 760));
            window.view().engine()->addImageProvider(u"symbol"_s, new SymbolImageProvider);
            QQuickItem *row = window.item(page.title);
            times.push_back(
                millisecondsToFrame(window.view(), [&] { QMetaObject::invokeMethod(row, "clicked"); }));
        }
        pages.append(QJsonObject{{u"title"_s, page.title}, {u"milliseconds"_s, median(times)}});
    }
    return pages;
}

/// The same stack with an empty page.
double emptyOpening(SettingsModel &settings)
{
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round) {
        QmlWindow window(u"Kavrin.Screens"_s, u"SettingsView"_s,
                         {{u"settings"_s, QVariant::fromValue(&settings)}}, QSize(420, 760));
        QQmlComponent page(window.view().engine());
        page.setData("import QtQuick\nItem { }", QUrl());
        QQmlContext context(qmlContext(window.view().rootObject()));
        context.setContextProperty(u"page"_s, &page);
        QQmlExpression push(&context, window.view().rootObject(), u"push(page)"_s);
        times.push_back(millisecondsToFrame(window.view(), [&push] { push.evaluate(); }));
        window.goBack();
    }
    return median(times);
}

/// The steps of a dragged slider, and frames of the same window in which nothing changes. The page has the
/// preview of the keyboard if it knows its identifier.
QJsonObject dragging(SettingsModel &settings, const QString &pageId, QSize size)
{
    const std::unique_ptr<PageModel> page(settings.makePage(u"layout"_s));
    QmlWindow window(u"Kavrin.Screens"_s, u"PageView"_s,
                     {{u"page"_s, QVariant::fromValue(page.get())},
                      {u"pageId"_s, pageId},
                      {u"actions"_s, QVariant::fromValue(settings.actions())}},
                     size);
    QQuickItem *slider = window.item(u"Key height"_s);
    const auto at = [slider](int value) {
        const double share = (value - 36) / 44.0;
        return slider->mapToScene(QPointF(12 + share * (slider->width() - 24), slider->height() / 2))
            .toPoint();
    };
    QTest::mousePress(&window.view(), Qt::LeftButton, Qt::NoModifier, at(36));
    std::vector<double> steps;
    std::vector<double> unchanged;
    for (int value = 37; value <= 80; ++value) {
        steps.push_back(
            millisecondsToFrame(window.view(), [&] { QTest::mouseMove(&window.view(), at(value)); }));
        if (Shared::d().object(u"rowH"_s) != PropertyListValue(double(value))) {
            qFatal("A step of the slider was not stored.");
        }
        unchanged.push_back(millisecondsToFrame(window.view(), [&window] { window.view().update(); }));
    }
    QTest::mouseRelease(&window.view(), Qt::LeftButton, Qt::NoModifier, at(80));
    return {{u"step"_s, median(steps)}, {u"unchanged"_s, median(unchanged)}};
}

/// The keys of searches, the first of which opens the search.
QJsonObject searching(SettingsModel &settings)
{
    std::vector<double> first;
    std::vector<double> others;
    for (const QString &text : {u"vibratoin"_s, u"key height"_s, u"turkce"_s, u"dark"_s, u"size"_s}) {
        QmlWindow window(u"Kavrin.Screens"_s, u"SettingsPanes"_s,
                         {{u"settings"_s, QVariant::fromValue(&settings)}}, QSize(420, 760));
        window.view().engine()->addImageProvider(u"symbol"_s, new SymbolImageProvider);
        const auto press = [&window](QChar letter) {
            return millisecondsToFrame(window.view(), [&] { window.type(letter); });
        };
        first.push_back(press(text.front()));
        std::ranges::transform(text.sliced(1), std::back_inserter(others), press);
    }
    return {
        {u"first"_s, median(first)}, {u"key"_s, median(others)}, {u"slowestKey"_s, std::ranges::max(others)}};
}

/// A dictionary of as many characters.
QString dictionary(int characters)
{
    QString text;
    for (int word = 0; text.size() < characters; ++word) {
        text += u"word%1\nab%1=abbreviation %1\n"_s.arg(word);
    }
    return text;
}

/// Keys typed at the beginning of a view's text.
double typing(const QString &module, const QString &type, const QVariantMap &properties)
{
    QmlWindow window(module, type, properties, QSize(420, 760));
    QQuickItem *editor = qobject_cast<QQuickItem *>(
        properties.isEmpty() ? window.find(u"Dictionary"_s, QAccessible::EditableText)->object()
                             : window.top());
    editor->forceActiveFocus();
    std::vector<double> times(rounds);
    std::ranges::generate(times,
                          [&] { return millisecondsToFrame(window.view(), [&] { window.type(u"x"_s); }); });
    return median(times);
}

/// The dictionary's page, and a plain editor with the same text.
QJsonObject typingIntoDictionary(int characters)
{
    const QString text = dictionary(characters);
    Prefs::set(u"userDict"_s, text);
    return {{u"page"_s, typing(u"Kavrin.Screens"_s, u"DictionaryView"_s, {})},
            {u"plain"_s, typing(u"QtQuick"_s, u"TextEdit"_s, {{u"text"_s, text}})}};
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
    const QJsonObject figures = {{u"pages"_s, openings(settings)},
                                 {u"emptyPage"_s, emptyOpening(settings)},
                                 {u"slider"_s, dragging(settings, {}, QSize(420, 760))},
                                 {u"preview"_s, dragging(settings, u"layout"_s, QSize(1100, 760))},
                                 {u"search"_s, searching(settings)},
                                 {u"dictionary"_s, typingIntoDictionary(100'000)},
                                 {u"largeDictionary"_s, typingIntoDictionary(2'000'000)}};
    std::puts(QJsonDocument(figures).toJson(QJsonDocument::Compact).constData());
    return 0;
}
