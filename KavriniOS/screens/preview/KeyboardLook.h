// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

namespace kavrin
{

/// What the settings say of how the keyboard looks. Each member has the name of its setting; docs/settings.md
/// says what it means. Numbers are within their range, and choices are among their options.
struct KeyboardLook {
    Q_GADGET
    QML_ANONYMOUS

    Q_PROPERTY(double radius MEMBER radius)
    Q_PROPERTY(double trailWidth MEMBER trailWidth)
    Q_PROPERTY(bool keyBorder MEMBER keyBorder)
    Q_PROPERTY(bool keyShadow MEMBER keyShadow)
    Q_PROPERTY(bool glassPress MEMBER glassPress)
    Q_PROPERTY(bool boldLabels MEMBER boldLabels)
    Q_PROPERTY(bool popup MEMBER popup)
    Q_PROPERTY(bool sugPills MEMBER sugPills)
    Q_PROPERTY(bool showsTrail READ showsTrail)
    Q_PROPERTY(QStringList tools MEMBER tools)

public:
    double rowH = 0;
    double vGap = 0;
    double hGap = 0;
    double radius = 0;
    double bottomPad = 0;
    double widthPct = 0;
    double posX = 0;
    double landscape = 0;
    double numRowScale = 0;
    double capLight = 0;
    double capDark = 0;
    double fnDim = 0;
    double labelSize = 0;
    double trailWidth = 0;

    bool punctKeys = false;
    bool stockLayout = false;
    bool numberRow = false;
    bool spaceLabel = false;
    bool keyBorder = false;
    bool keyShadow = false;
    bool glassPress = false;
    bool boldLabels = false;
    bool popup = false;
    bool glide = false;
    bool trail = false;
    bool sugPills = false;
    bool suggestStrip = false;
    bool quoteLiteral = false;
    bool langExtraEn = false;
    bool langExtraTr = false;

    QString hints;
    QString accent;
    QString language;

    /// The symbols of the tools that are shown, in their order.
    QStringList tools;

    [[nodiscard]] bool showsTrail() const { return glide && trail; }

    /// Whether the user types in this language, "en" or "tr": by the layout or beside it.
    [[nodiscard]] bool writes(const QString &code) const;

    bool operator==(const KeyboardLook &) const = default;

    /// The look that is stored, through Prefs.
    static KeyboardLook stored();

    /// The keys of the settings that stored() reads, without those of the toolbar.
    static QStringList keys();
};

} // namespace kavrin
