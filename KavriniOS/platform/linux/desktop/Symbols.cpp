// SPDX-License-Identifier: MIT
#include "platform/Symbols.h"

#include <QLatin1StringView>
#include <QPainter>
#include <QSvgRenderer>

#include <algorithm>
#include <array>

namespace kavrin
{

namespace
{

struct Symbol {
    QLatin1StringView name;
    QLatin1StringView icon; ///< of Bootstrap Icons
};

constexpr Symbol symbol(const char *name, const char *icon)
{
    return {QLatin1StringView(name), QLatin1StringView(icon)};
}

constexpr std::array symbols = {
    symbol("character.book.closed", "journal-bookmark"),
    symbol("character.bubble", "translate"),
    symbol("checkmark", "check-lg"),
    symbol("checkmark.circle.fill", "check-circle-fill"),
    symbol("chevron.left", "chevron-left"),
    symbol("chevron.right", "chevron-right"),
    symbol("chevron.up.chevron.down", "chevron-expand"),
    symbol("doc.on.clipboard", "clipboard"),
    symbol("ellipsis", "three-dots"),
    symbol("exclamationmark.triangle.fill", "exclamation-triangle-fill"),
    symbol("eye", "eye"),
    symbol("eye.slash", "eye-slash"),
    symbol("face.smiling", "emoji-smile"),
    symbol("gearshape", "gear"),
    symbol("globe.europe.africa", "globe-europe-africa"),
    symbol("hand.draw", "arrows-move"),
    symbol("hand.tap", "hand-index-thumb"),
    symbol("keyboard", "keyboard"),
    symbol("line.3.horizontal", "list"),
    symbol("magnifyingglass", "search"),
    symbol("mic", "mic"),
    symbol("mic.fill", "mic-fill"),
    symbol("number", "hash"),
    symbol("number.square", "1-square"),
    symbol("paintpalette", "palette"),
    symbol("person.crop.circle", "person-circle"),
    symbol("photo.on.rectangle.angled", "images"),
    symbol("play.rectangle.fill", "play-btn-fill"),
    symbol("puzzlepiece.extension", "puzzle"),
    symbol("speaker.wave.2", "volume-up"),
    symbol("textformat.abc", "spellcheck"),
    symbol("wrench.and.screwdriver", "tools"),
    symbol("xmark.circle.fill", "x-circle-fill"),
};

} // namespace

QImage Symbols::image(const QString &name, int size)
{
    const auto *const found = std::find_if(symbols.begin(), symbols.end(),
                                           [&](const Symbol &symbol) { return symbol.name == name; });
    if (found == symbols.end()) {
        return {};
    }
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    // All icons are drawn on one grid, so their common view box is what keeps them equally large.
    QSvgRenderer renderer(QStringLiteral(":/symbols/") + found->icon + QStringLiteral(".svg"));
    QPainter painter(&image);
    renderer.render(&painter);
    return image;
}

} // namespace kavrin
