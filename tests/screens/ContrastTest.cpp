// SPDX-License-Identifier: MIT
#include "screens/Screens.h"
#include "support/Suite.h"

#include <QImage>
#include <QLineF>
#include <QtMath>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <utility>

namespace kavrin::test
{

namespace
{

/// What the desktop may want.
struct Wish {
    bool dark;
    bool highContrast;
    QColor accent; ///< transparent if the desktop has none
};

std::vector<Wish> wishes()
{
    const QColor accents[] = {Qt::transparent, Qt::yellow,     Qt::white,      Qt::black,
                              QRgb(0x3584e4),  QRgb(0xc88800), QRgb(0xd56199), QRgb(0x6f8396),
                              QRgb(0x3daee9),  QRgb(0x241f31), QRgb(0x00ff00)};
    std::vector<Wish> all;
    for (const QColor &accent : accents) {
        for (const auto &[dark, highContrast] : {std::pair(false, false), std::pair(false, true),
                                                 std::pair(true, false), std::pair(true, true)}) {
            all.push_back({dark, highContrast, accent});
        }
    }
    return all;
}

std::string toText(const Wish &wish)
{
    return (wish.dark ? "dark, " : "light, ") + std::string(wish.highContrast ? "high contrast, " : "")
        + wish.accent.name(QColor::HexArgb).toStdString();
}

/// https://www.w3.org/TR/WCAG22/#dfn-relative-luminance
double luminance(const QColor &color)
{
    const auto light = [](int part) {
        const double stored = part / 255.0;
        return stored <= 0.04045 ? stored / 12.92 : std::pow((stored + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * light(color.red()) + 0.7152 * light(color.green()) + 0.0722 * light(color.blue());
}

double contrast(const QColor &one, const QColor &other)
{
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

/// How much anything on the way from one point to another stands out from the colour where it begins.
double strongestContrast(const QImage &image, const QPointF &from, const QPointF &to)
{
    const QColor ground = image.pixelColor(from.toPoint());
    const int steps = qCeil(QLineF(from, to).length());
    double strongest = 1;
    for (int step = 0; step <= steps; ++step) {
        const QPointF at = from + (to - from) * step / std::max(1, steps);
        strongest = std::max(strongest, contrast(ground, image.pixelColor(at.toPoint())));
    }
    return strongest;
}

class ContrastTest : public Screens
{
protected:
    static constexpr QSize wholePage = QSize(400, 3000);

    void wish(const Wish &wish)
    {
        m_theme = window().theme();
        m_theme->setProperty("reducedMotion", true); // what a picture shows is there for good
        m_theme->setProperty("dark", wish.dark);
        m_theme->setProperty("highContrast", wish.highContrast);
        m_theme->setProperty("desktopAccent", wish.accent);
    }

    QColor color(const char *name) { return m_theme->property(name).value<QColor>(); }

    /// A ground with a translucent colour over it.
    QColor covered(const char *ground, const char *cover)
    {
        const QColor below = color(ground);
        const QColor above = color(cover);
        const auto mixed = [share = double(above.alphaF())](int one, int other) {
            return qRound(one * (1 - share) + other * share);
        };
        return {mixed(below.red(), above.red()), mixed(below.green(), above.green()),
                mixed(below.blue(), above.blue())};
    }

    /// A switch that is off, one that is on, and a slider in its middle.
    void openControls()
    {
        Prefs::set(u"on"_s, true);
        Prefs::set(u"slider"_s, 5.0);
        openPage({{u"page"_s,
                   u"Page"_s,
                   u"gearshape"_s,
                   {{u"Section"_s,
                     {{u"off"_s, u"Off"_s, catalogue::Toggle{}},
                      {u"on"_s, u"On"_s, catalogue::Toggle{}},
                      {u"slider"_s, u"Slider"_s, catalogue::Slider{5, 0, 10, 1, {}}}}}}}},
                 u"page"_s);
    }

    /// Where a part of a control is in the window.
    QRectF place(const QString &control, const char *part)
    {
        const auto *item = window().item(control)->property(part).value<QQuickItem *>();
        return item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
    }

    QImage grab() { return window().view().grabWindow(); }

    /// The left edge of a box stands out from what is beside it, whatever the desktop wants.
    void expectEdgeOf(const QQuickItem *box)
    {
        const QPointF edge = box->mapToScene(QPointF(0, box->height() / 2));
        for (const Wish &each : wishes()) {
            SCOPED_TRACE(toText(each));
            wish(each);
            EXPECT_GE(strongestContrast(grab(), edge - QPointF(4, 0), edge + QPointF(2, 0)),
                      each.highContrast ? 4.5 : 3);
        }
    }

    /// Every text that does not stand out from its ground as it must, with its contrast.
    QStringList faintTexts(double least)
    {
        std::vector<QQuickItem *> texts;
        collect(window().top(), texts);
        std::ranges::for_each(texts, [](QQuickItem *text) { text->setOpacity(0); });
        const QImage grounds = grab();
        std::ranges::for_each(texts, [](QQuickItem *text) { text->setOpacity(1); });
        QStringList faint;
        for (const QQuickItem *text : texts) {
            const QColor ground = grounds.pixelColor(text->mapToScene(QPointF(1, 1)).toPoint());
            const double measured = contrast(text->property("color").value<QColor>(), ground);
            if (measured < least) {
                faint.append(u"%1 (%2)"_s.arg(text->property("text").toString()).arg(measured));
            }
        }
        return faint;
    }

private:
    static void collect(QQuickItem *item, std::vector<QQuickItem *> &texts)
    {
        if (!item->isVisible() || item->opacity() == 0) {
            return;
        }
        const bool isText = item->inherits("QQuickText") || item->inherits("QQuickTextInput");
        if (isText && !item->property("text").toString().isEmpty()) {
            texts.push_back(item);
        }
        for (QQuickItem *child : item->childItems()) {
            collect(child, texts);
        }
    }

    QObject *m_theme = nullptr; ///< the window's
};

TEST_F(ContrastTest, EveryTextStandsOutFromItsGround)
{
    put(Shared::d(), u"probeKb"_s, true);
    const std::function<void()> screens[] = {
        [this] { openSettings(wholePage); },
        [this] { openPage(u"layout"_s, wholePage); },
        [this] { openPage(u"advanced"_s, wholePage); },
    };
    for (const auto &open : screens) {
        open();
        for (const Wish &each : wishes()) {
            SCOPED_TRACE(toText(each));
            wish(each);
            EXPECT_EQ(faintTexts(each.highContrast ? 7 : 4.5), QStringList());
        }
    }
}

TEST_F(ContrastTest, EveryTextStandsOutWhileItsRowIsHoveredOrPressed)
{
    openControls();
    for (const Wish &each : wishes()) {
        wish(each);
        const double least = each.highContrast ? 7 : 4.5;
        for (const char *ground : {"background", "card", "raised"}) {
            for (const char *cover : {"highlight", "pressed"}) {
                for (const char *ink :
                     {"text", "secondaryText", "accent", "good", "warning", "destructive"}) {
                    SCOPED_TRACE(toText(each) + ", " + ink + " on " + ground + ", " + cover);
                    EXPECT_GE(contrast(color(ink), covered(ground, cover)), least);
                }
            }
        }
        SCOPED_TRACE(toText(each));
        EXPECT_GE(contrast(color("accentText"), color("accent")), least);
    }
}

TEST_F(ContrastTest, EveryControlHasAnEdge)
{
    openControls();
    for (const Wish &each : wishes()) {
        SCOPED_TRACE(toText(each));
        wish(each);
        const QImage image = grab();
        const double least = each.highContrast ? 4.5 : 3;
        for (const QString &name : {u"Off"_s, u"On"_s}) {
            SCOPED_TRACE(qPrintable(name));
            const QRectF track = place(name, "indicator");
            const double y = track.center().y();
            EXPECT_GE(strongestContrast(image, {track.left() - 4, y}, {track.left() + 2, y}), least);
            const bool isOn = name == u"On";
            EXPECT_GE(strongestContrast(image, {track.left() + (isOn ? 0.25 : 0.75) * track.width(), y},
                                        {isOn ? track.right() - 4 : track.left() + 4, y}),
                      least);
        }
        const QRectF track = place(u"Slider"_s, "background");
        const QRectF knob = place(u"Slider"_s, "handle");
        for (const double x : {track.left() + 20, track.right() - 20}) {
            EXPECT_GE(strongestContrast(image, {x, track.top() - 5}, {x, track.center().y()}), least);
        }
        const double x = knob.center().x();
        EXPECT_GE(strongestContrast(image, {x, knob.top() - 3}, {x, knob.top() + 3}), least);
    }
}

TEST_F(ContrastTest, TheFieldToSearchHasAnEdgeAlsoWithoutTheFocus)
{
    openPanes(QSize(400, 720));
    window().press(Qt::Key_F, Qt::ControlModifier);
    const QQuickItem *box = window().item(u"Search settings"_s)->parentItem();
    window().top()->forceActiveFocus();
    window().view().rootObject()->setFocus(false);
    expectEdgeOf(box);
}

TEST_F(ContrastTest, AFieldHasAnEdge)
{
    openPage(u"dictation"_s);
    const QQuickItem *box = window().item(u"API key"_s);
    expectEdgeOf(box);
}

TEST_F(ContrastTest, TheDictionaryHasAnEdge)
{
    openPanes(QSize(400, 720), {{u"initialPage"_s, u"dictionary"_s}});
    const QAccessibleInterface *editor = window().find(u"Dictionary"_s, QAccessible::EditableText);
    const auto *item = qobject_cast<QQuickItem *>(editor->object());
    expectEdgeOf(item);
}

} // namespace

} // namespace kavrin::test
