// SPDX-License-Identifier: MIT
#include "support/Painted.h"

#include <QImage>
#include <QQuickItem>
#include <QUrl>

#include <algorithm>
#include <map>
#include <vector>

namespace kavrin::test
{

namespace
{

/// What an item is to show by itself; empty where it is neither a text nor a symbol.
QString contentOf(const QQuickItem *item)
{
    if (item->inherits("QQuickImage")) {
        const QString symbol = item->property("source").toUrl().fileName().section(u'@', 0, 0);
        return symbol.isEmpty() ? symbol : u'(' + symbol + u')';
    }
    if (item->inherits("QQuickTextInput")) {
        return item->property("displayText").toString();
    }
    const bool isText = item->inherits("QQuickText") || item->inherits("QQuickTextEdit");
    return isText ? item->property("text").toString() : QString();
}

void collect(QQuickItem *item, std::vector<QQuickItem *> &parts)
{
    if (!item->isVisible()) {
        return;
    }
    if (!contentOf(item).isEmpty()) {
        parts.push_back(item);
    }
    for (QQuickItem *child : item->childItems()) {
        collect(child, parts);
    }
}

/// The window without some of its items, with everything else in its place.
QImage grabWithout(QQuickWindow &window, const std::vector<QQuickItem *> &parts)
{
    std::map<QQuickItem *, double> opacities;
    for (QQuickItem *part : parts) {
        opacities[part] = part->opacity();
        part->setOpacity(0);
    }
    const QImage image = window.grabWindow();
    for (const auto &[part, opacity] : opacities) {
        part->setOpacity(opacity);
    }
    return image;
}

bool differ(const QImage &one, const QImage &other, QRect area)
{
    area &= one.rect();
    return !area.isEmpty() && one.copy(area) != other.copy(area);
}

} // namespace

QStringList painted(QQuickWindow &window, QQuickItem *within)
{
    std::vector<QQuickItem *> parts;
    collect(within, parts);
    const QImage with = window.grabWindow();
    const QImage without = grabWithout(window, parts);
    QStringList seen;
    for (const QQuickItem *part : parts) {
        if (differ(with, without, part->mapRectToScene(part->boundingRect()).toAlignedRect())) {
            seen.append(contentOf(part));
        }
    }
    return seen;
}

} // namespace kavrin::test
