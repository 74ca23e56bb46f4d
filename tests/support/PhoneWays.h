// SPDX-License-Identifier: MIT
#pragma once

#include <QRegularExpression>
#include <QStringList>

namespace kavrin::test
{

/// Those of `texts` that tell a way of doing things that only a phone has.
inline QStringList phoneWaysIn(const QStringList &texts)
{
    static const QRegularExpression phoneWay(QStringLiteral(
        "iOS|iPhone|iPad|iCloud|Siri|(Settings|Shortcuts|Automation) ›|Full Access|home indicator|Swipe back"
        "|Liquid Glass|keyboard mic again|Sideload|App Group|App Store"));
    return texts.filter(phoneWay);
}

} // namespace kavrin::test
