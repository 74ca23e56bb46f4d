// SPDX-License-Identifier: MIT
#include "screens/preview/KeyboardColors.h"

#include <QHash>

#include <algorithm>
#include <cmath>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

struct Shades {
    QColor light;
    QColor dark;
};

const Shades grounds = {QColor(0xd8, 0xda, 0xe0), QColor(0x16, 0x16, 0x19)};

const QHash<QString, Shades> &accents()
{
    static const QHash<QString, Shades> all = {
        {u"blue"_s, {QColor(0x25, 0x63, 0xeb), QColor(0x5b, 0x8d, 0xf6)}},
        {u"green"_s, {QColor(0x1a, 0x7f, 0x4b), QColor(0x3d, 0xb8, 0x78)}},
        {u"purple"_s, {QColor(0x7c, 0x3a, 0xed), QColor(0xa1, 0x7c, 0xf5)}},
        {u"pink"_s, {QColor(0xc8, 0x2a, 0x7e), QColor(0xf0, 0x72, 0xb6)}},
        {u"orange"_s, {QColor(0xc2, 0x5a, 0x0a), QColor(0xf5, 0x95, 0x3d)}},
        {u"graphite"_s, {QColor(0x52, 0x59, 0x66), QColor(0x8b, 0x93, 0xa1)}},
    };
    return all;
}

QColor in(bool isDark, const Shades &shades)
{
    return isDark ? shades.dark : shades.light;
}

QColor gray(double brightness)
{
    const int level = int(std::round(255 * brightness));
    return {level, level, level};
}

/// Of `one` and `other`, with `share` of the other, 0 to 1.
QColor mixed(const QColor &one, const QColor &other, double share)
{
    const auto channel = [share](int a, int b) { return int(std::round(a + (b - a) * share)); };
    return {channel(one.red(), other.red()), channel(one.green(), other.green()),
            channel(one.blue(), other.blue())};
}

QColor withAlpha(QColor color, double alpha)
{
    color.setAlphaF(float(alpha));
    return color;
}

double linear(double channel)
{
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(const QColor &color)
{
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

/// Black or white, whichever stands out more.
QColor readableOn(const QColor &color)
{
    return contrast(color, Qt::black) >= contrast(color, Qt::white) ? Qt::black : Qt::white;
}

} // namespace

double contrast(const QColor &one, const QColor &other)
{
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

KeyboardColors KeyboardColors::of(const KeyboardLook &look, bool isDark)
{
    KeyboardColors colors;
    colors.ground = in(isDark, grounds);
    colors.onGround = readableOn(colors.ground);
    colors.divider = withAlpha(colors.onGround, 0.18);
    colors.pill = mixed(colors.ground, Qt::white, isDark ? 0.12 : 0.6);
    colors.cap = gray(isDark ? look.capDark : look.capLight);
    colors.onCap = readableOn(colors.cap);
    colors.function = mixed(colors.cap, Qt::black, 0.4 * look.fnDim);
    colors.onFunction = readableOn(colors.function);
    colors.pressed =
        mixed(colors.cap, look.glassPress ? colors.ground : colors.onCap, look.glassPress ? 0.5 : 0.2);
    colors.onPressed = readableOn(colors.pressed);
    colors.accent = in(isDark, accents().value(look.accent));
    colors.onAccent = readableOn(colors.accent);
    colors.border = withAlpha(colors.onCap, 0.28);
    colors.shadow = withAlpha(Qt::black, isDark ? 0.6 : 0.3);
    return colors;
}

} // namespace kavrin
