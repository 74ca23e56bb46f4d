// SPDX-License-Identifier: MIT
#pragma once

#include "screens/preview/KeyboardColors.h"
#include "screens/preview/KeyboardGeometry.h"
#include "screens/preview/KeyboardLook.h"

#include <QAbstractListModel>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

#include <limits>

namespace kavrin
{

/// The keyboard as the stored settings make it look: a row for each key, and what is around the keys. It
/// reads Prefs when it is made, and again by read(). Main thread only.
///
/// It shows what the last change is about: after a change of a setting that counts only in dark mode, it is
/// dark until another setting changes.
class KeyboardModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(double screenWidth READ screenWidth WRITE setScreenWidth NOTIFY changed)
    Q_PROPERTY(double maximumHeight READ maximumHeight WRITE setMaximumHeight NOTIFY changed)
    Q_PROPERTY(double scale READ scale NOTIFY changed)
    Q_PROPERTY(bool dark READ isDark WRITE setDark NOTIFY changed)
    Q_PROPERTY(kavrin::KeyboardLook look READ look NOTIFY changed)
    Q_PROPERTY(kavrin::KeyboardGeometry geometry READ geometry NOTIFY changed)
    Q_PROPERTY(kavrin::KeyboardColors colors READ colors NOTIFY changed)
    Q_PROPERTY(QStringList suggestions READ suggestions NOTIFY changed)
    Q_PROPERTY(bool showsDark READ showsDark NOTIFY changed)
    Q_PROPERTY(bool showsLandscape READ showsLandscape NOTIFY changed)

public:
    enum Role {
        Cap = Qt::UserRole, ///< "cap": its rectangle
        LabelPlace, ///< "labelPlace": where the label or symbol is centred
        HintPlace, ///< "hintPlace": where the hint is; empty if its row has none
        Label, ///< "label": empty if the key has a symbol
        Symbol, ///< "symbol": a system symbol
        Hint, ///< "hint"
        LabelSize, ///< "labelSize": of the label or symbol, in pixels
        Color, ///< "color": of the cap
        TextColor, ///< "textColor": of what is on it
        Pressed, ///< "pressed": whether the key is drawn pressed
    };

    explicit KeyboardModel(QObject *parent = nullptr);

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    /// The width of the screen that the keyboard is on, in logical pixels. It stays as it was where it is to
    /// be 0 or less, as a view's is before it has a size.
    [[nodiscard]] double screenWidth() const { return m_screenWidth; }
    void setScreenWidth(double width);

    /// The height that there is for the picture, in pixels. The keyboard is as large as on its screen, or so
    /// much smaller that it fits, down to a third.
    [[nodiscard]] double maximumHeight() const { return m_maximumHeight; }
    void setMaximumHeight(double height);

    /// How large the picture is: 1/3 to 1.
    [[nodiscard]] double scale() const { return m_scale; }

    /// Whether the desktop is dark.
    [[nodiscard]] bool isDark() const { return m_isDark; }
    void setDark(bool dark);

    [[nodiscard]] const KeyboardLook &look() const { return m_look; }
    /// In the picture, so at its scale.
    [[nodiscard]] const KeyboardGeometry &geometry() const { return m_geometry; }
    [[nodiscard]] const KeyboardColors &colors() const { return m_colors; }

    /// The three suggestions for a word, the first as it was typed.
    [[nodiscard]] QStringList suggestions() const;

    /// What is shown: the desktop's colours and an upright screen, unless the last change was about others.
    [[nodiscard]] bool showsDark() const;
    [[nodiscard]] bool showsLandscape() const { return m_subject == Subject::Landscape; }

    /// Reads the settings again.
    Q_INVOKABLE void read();

Q_SIGNALS:
    void changed();

private:
    /// What the last change was about.
    enum class Subject { Anything, Light, Dark, Landscape };
    [[nodiscard]] Subject subjectOf(const KeyboardLook &look) const;
    [[nodiscard]] bool isPressed(const KeyboardGeometry::Key &key) const;
    [[nodiscard]] QColor colorOf(const KeyboardGeometry::Key &key) const;
    [[nodiscard]] QColor textColorOf(const KeyboardGeometry::Key &key) const;
    void update();

    double m_screenWidth = 360;
    double m_maximumHeight = std::numeric_limits<double>::infinity();
    double m_scale = 1;
    bool m_isDark = false;
    Subject m_subject = Subject::Anything;
    KeyboardLook m_look;
    KeyboardGeometry m_geometry;
    KeyboardColors m_colors;
};

} // namespace kavrin
