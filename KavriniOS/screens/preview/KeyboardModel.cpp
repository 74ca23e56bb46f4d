// SPDX-License-Identifier: MIT
#include "screens/preview/KeyboardModel.h"

#include <algorithm>

namespace kavrin
{

using namespace Qt::StringLiterals;

KeyboardModel::KeyboardModel(QObject *parent) : QAbstractListModel(parent), m_look(KeyboardLook::stored())
{
    update();
}

int KeyboardModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_geometry.keys.size());
}

QVariant KeyboardModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    const KeyboardGeometry::Key &key = m_geometry.keys[index.row()];
    switch (role) {
    case Cap:
        return key.cap;
    case LabelPlace:
        return key.label;
    case HintPlace:
        return key.hint;
    case Label:
        return key.key.label;
    case Symbol:
        return key.key.symbol;
    case Hint:
        return key.key.hint;
    case LabelSize:
        return key.labelSize;
    case Color:
        return colorOf(key);
    case TextColor:
        return textColorOf(key);
    case Pressed:
        return isPressed(key);
    default:
        return {};
    }
}

QHash<int, QByteArray> KeyboardModel::roleNames() const
{
    return {
        {Cap, "cap"},
        {LabelPlace, "labelPlace"},
        {HintPlace, "hintPlace"},
        {Label, "label"},
        {Symbol, "symbol"},
        {Hint, "hint"},
        {LabelSize, "labelSize"},
        {Color, "color"},
        {TextColor, "textColor"},
        {Pressed, "pressed"},
    };
}

bool KeyboardModel::isPressed(const KeyboardGeometry::Key &key) const
{
    return key.cap == m_geometry.pressed;
}

QColor KeyboardModel::colorOf(const KeyboardGeometry::Key &key) const
{
    switch (key.key.role) {
    case KeyRole::Function:
        return m_colors.function;
    case KeyRole::Return:
        return m_colors.accent;
    default:
        return isPressed(key) ? m_colors.pressed : m_colors.cap;
    }
}

QColor KeyboardModel::textColorOf(const KeyboardGeometry::Key &key) const
{
    switch (key.key.role) {
    case KeyRole::Function:
        return m_colors.onFunction;
    case KeyRole::Return:
        return m_colors.onAccent;
    default:
        return isPressed(key) ? m_colors.onPressed : m_colors.onCap;
    }
}

QStringList KeyboardModel::suggestions() const
{
    const QStringList words = m_look.language == u"tr" ? QStringList{u"gunes"_s, u"güneş"_s, u"güneşli"_s}
                                                       : QStringList{u"helo"_s, u"hello"_s, u"help"_s};
    const QString typed = m_look.quoteLiteral ? u'“' + words[0] + u'”' : words[0];
    return {typed, words[1], words[2]};
}

bool KeyboardModel::showsDark() const
{
    return m_subject == Subject::Light ? false : m_subject == Subject::Dark ? true : m_isDark;
}

void KeyboardModel::setScreenWidth(double width)
{
    if (width > 0 && width != m_screenWidth) {
        m_screenWidth = width;
        update();
    }
}

void KeyboardModel::setMaximumHeight(double height)
{
    if (height != m_maximumHeight) {
        m_maximumHeight = height;
        update();
    }
}

void KeyboardModel::setDark(bool dark)
{
    if (dark != m_isDark) {
        m_isDark = dark;
        update();
    }
}

KeyboardModel::Subject KeyboardModel::subjectOf(const KeyboardLook &look) const
{
    return look.capLight != m_look.capLight  ? Subject::Light
        : look.capDark != m_look.capDark     ? Subject::Dark
        : look.landscape != m_look.landscape ? Subject::Landscape
                                             : Subject::Anything;
}

void KeyboardModel::read()
{
    const KeyboardLook look = KeyboardLook::stored();
    if (look == m_look) {
        return;
    }
    m_subject = subjectOf(look);
    m_look = look;
    update();
}

/// Lays the keyboard out anew. Keys keep their rows while there are as many, so that a view keeps their
/// items.
void KeyboardModel::update()
{
    const KeyboardGeometry realSize = KeyboardGeometry::of(m_look, m_screenWidth, showsLandscape());
    m_scale = std::clamp(m_maximumHeight / realSize.height, 1.0 / 3, 1.0);
    const KeyboardGeometry geometry = realSize.scaled(m_scale);
    m_colors = KeyboardColors::of(m_look, showsDark());
    if (geometry.keys.size() == m_geometry.keys.size()) {
        m_geometry = geometry;
        Q_EMIT dataChanged(createIndex(0, 0), createIndex(int(geometry.keys.size()) - 1, 0));
    } else {
        beginResetModel();
        m_geometry = geometry;
        endResetModel();
    }
    Q_EMIT changed();
}

} // namespace kavrin
