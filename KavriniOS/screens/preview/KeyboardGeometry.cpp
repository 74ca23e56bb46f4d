// SPDX-License-Identifier: MIT
#include "screens/preview/KeyboardGeometry.h"

#include <algorithm>
#include <cmath>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

constexpr double barHeight = 38; // of the toolbar, and of the suggestions
constexpr double greatestToolWidth = 44;
constexpr double leastCapWidth = 11;
constexpr double leastRowHeight = 12;
constexpr double leastHeightWithHints = 28;
constexpr double leastHintSize = 9;
constexpr double leastWidthWithInset = 20; // on the right of a hint

/// The lengths that all keys share.
struct Measures {
    double left; ///< of the keyboard on the screen
    double width; ///< of the keyboard
    double cell; ///< the width of a letter's key with its gap
    double gap; ///< between two keys of a row
    double rowHeight;
};

Measures measure(const KeyboardLook &look, double screenWidth, bool isLandscape)
{
    const double width = std::round(screenWidth * look.widthPct / 100);
    const double cell = width / cellsAcross(look);
    const double rowHeight = isLandscape ? look.rowH * look.landscape / 100 : look.rowH;
    return {
        .left = std::round((screenWidth - width) * look.posX / 100),
        .width = width,
        .cell = cell,
        .gap = std::clamp(look.hGap, 0.0, std::max(0.0, cell - leastCapWidth)),
        .rowHeight = std::max(leastRowHeight, rowHeight),
    };
}

/// Edges on whole pixels are sharp.
QRectF withinPixels(double left, double top, double right, double bottom)
{
    return {QPointF(std::round(left), std::round(top)), QPointF(std::round(right), std::round(bottom))};
}

/// How large what is on a key may be beside a letter.
double shareOfLetter(const RowKey &key)
{
    return !key.symbol.isEmpty() ? 0.85 : key.role == KeyRole::Space ? 0.6 : key.label.size() > 1 ? 0.7 : 1;
}

/// How wide it is at the size of one pixel. The name of a language is made to fit when it is drawn.
double widthPerSize(const RowKey &key)
{
    return key.role == KeyRole::Space ? 0 : !key.symbol.isEmpty() ? 1.25 : key.label.size() > 1 ? 2 : 0.9;
}

int labelSize(const KeyboardLook &look, const RowKey &key, const QRectF &place)
{
    const double wanted = std::min(look.labelSize * shareOfLetter(key), 0.85 * place.height());
    const double perSize = widthPerSize(key);
    return int(perSize > 0 ? std::min(wanted, place.width() / perSize) : wanted);
}

/// How high the hints above the letters of a row are. 0 if the row has none, or is too low for them.
double hintHeight(const KeyboardLook &look, const KeyRow &row, double height)
{
    const bool hasHints =
        std::ranges::any_of(row.keys, [](const RowKey &key) { return !key.hint.isEmpty(); });
    const bool fits = height >= leastHeightWithHints;
    return hasHints && fits ? std::round(std::max(leastHintSize, 0.42 * look.labelSize)) + 2 : 0;
}

KeyboardGeometry::Key placed(const KeyboardLook &look, const RowKey &key, const QRectF &cap,
                             double hintHeight)
{
    KeyboardGeometry::Key result{.key = key, .cap = cap, .label = cap, .hint = {}, .labelSize = 0};
    if (key.role == KeyRole::Letter) {
        const double inset = cap.width() < leastWidthWithInset ? 0 : 3;
        result.hint = QRectF(cap.left(), cap.top(), cap.width() - inset, hintHeight);
        result.label.setTop(result.hint.bottom());
    }
    if (key.role == KeyRole::Space) {
        result.label.adjust(4, 0, -4, 0);
    }
    result.labelSize = labelSize(look, key, result.label);
    return result;
}

double widthInCells(const KeyRow &row)
{
    double cells = 0;
    for (const RowKey &key : row.keys) {
        cells += key.cells;
    }
    return cells;
}

/// Places the keys of a row, of which the caps begin at `top`.
void placeRow(KeyboardGeometry &geometry, const KeyboardLook &look, const Measures &all, const KeyRow &row,
              double top, double height)
{
    double x = all.left + (all.width - widthInCells(row) * all.cell) / 2;
    for (const RowKey &key : row.keys) {
        const double end = x + key.cells * all.cell;
        const QRectF cap = withinPixels(x + all.gap / 2, top, end - all.gap / 2, top + height);
        geometry.keys.append(placed(look, key, cap, hintHeight(look, row, height)));
        x = end;
    }
}

/// Places all rows below `top`, each with half a gap above and below it. Returns where they end.
double placeRows(KeyboardGeometry &geometry, const KeyboardLook &look, const Measures &all, double top)
{
    for (const KeyRow &row : keyRows(look)) {
        const double scale = row.isNumbers ? look.numRowScale / 100 : 1;
        const double height = std::max(leastRowHeight, all.rowHeight * scale);
        placeRow(geometry, look, all, row, top + look.vGap / 2, height);
        top += height + look.vGap;
    }
    return top;
}

const KeyboardGeometry::Key &find(const KeyboardGeometry &geometry, const QString &letter)
{
    return *std::ranges::find_if(geometry.keys,
                                 [&](const auto &placed) { return placed.key.label == letter; });
}

void placePopup(KeyboardGeometry &geometry)
{
    const KeyboardGeometry::Key &key = find(geometry, u"g"_s);
    geometry.pressed = key.cap;
    geometry.popupSize = int(std::round(1.4 * key.labelSize));
    const double width = std::max(key.cap.width() + 8, 1.4 * geometry.popupSize);
    const double height = std::max(key.cap.height(), 1.2 * geometry.popupSize);
    const double middle = key.cap.center().x();
    const double bottom = key.cap.top() - 4;
    geometry.popup = withinPixels(middle - width / 2, bottom - height, middle + width / 2, bottom);
}

} // namespace

KeyboardGeometry KeyboardGeometry::of(const KeyboardLook &look, double screenWidth, bool isLandscape)
{
    const Measures all = measure(look, screenWidth, isLandscape);
    KeyboardGeometry geometry;
    geometry.toolbar = QRectF(all.left, 0, all.width, barHeight);
    geometry.toolWidth = std::min(greatestToolWidth, all.width / double(look.tools.size()));
    geometry.swelling = int(std::min({3.0, all.gap / 2, look.vGap / 2}));
    geometry.strip = QRectF(all.left, barHeight, all.width, look.suggestStrip ? barHeight : 0);
    geometry.height = std::round(placeRows(geometry, look, all, geometry.strip.bottom()) + look.bottomPad);
    placePopup(geometry);
    geometry.trailBegin = find(geometry, u"o"_s).cap.center();
    geometry.trailEnd = find(geometry, u"n"_s).cap.center();
    return geometry;
}

KeyboardGeometry KeyboardGeometry::scaled(double factor) const
{
    const auto scale = [factor](const QRectF &r) {
        return withinPixels(r.left() * factor, r.top() * factor, r.right() * factor, r.bottom() * factor);
    };
    KeyboardGeometry result = *this;
    for (double *length : {&result.height, &result.toolWidth}) {
        *length *= factor;
    }
    for (QRectF *place : {&result.toolbar, &result.strip, &result.pressed, &result.popup}) {
        *place = scale(*place);
    }
    for (QPointF *point : {&result.trailBegin, &result.trailEnd}) {
        *point *= factor;
    }
    result.swelling = int(swelling * factor);
    result.popupSize = int(popupSize * factor);
    for (Key &key : result.keys) {
        key = {key.key, scale(key.cap), scale(key.label), scale(key.hint), int(key.labelSize * factor)};
    }
    return result;
}

} // namespace kavrin
