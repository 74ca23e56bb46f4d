// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Tray.h"
#include "platform/linux/desktop/DBusMenu.h"
#include "platform/linux/desktop/TrayPixmaps.h"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QObject>

namespace kavrin
{

/// (sa(iiay)ss): a tooltip, of which only the title is used here.
struct TrayToolTip {
    QString iconName;
    TrayPixmaps iconPixmap;
    QString title;
    QString description;

    static auto fields(auto &self)
    {
        return std::tie(self.iconName, self.iconPixmap, self.title, self.description);
    }
};

/// One icon in the tray, with its menu: org.kde.StatusNotifierItem at /StatusNotifierItem, see
/// https://www.freedesktop.org/wiki/Specifications/StatusNotifierItem/. The application draws its picture, so
/// panels find it in "IconPixmap", and there is no icon name. It never asks for attention and is always
/// shown.
///
/// It has its own connection to the session bus, because in this protocol an item leaves the tray only when
/// its connection ends. Any program may call it. Main thread only; needs the QGuiApplication, but no display.
class StatusNotifierItem : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category CONSTANT)
    Q_PROPERTY(QString Id READ id CONSTANT)
    Q_PROPERTY(QString Title READ title CONSTANT)
    Q_PROPERTY(QString Status READ status CONSTANT)
    Q_PROPERTY(QString IconName READ noName CONSTANT)
    Q_PROPERTY(QList<kavrin::TrayPixmap> IconPixmap READ iconPixmap NOTIFY NewIcon)
    Q_PROPERTY(QString OverlayIconName READ noName CONSTANT)
    Q_PROPERTY(QList<kavrin::TrayPixmap> OverlayIconPixmap READ noPixmap CONSTANT)
    Q_PROPERTY(QString AttentionIconName READ noName CONSTANT)
    Q_PROPERTY(QList<kavrin::TrayPixmap> AttentionIconPixmap READ noPixmap CONSTANT)
    Q_PROPERTY(QString AttentionMovieName READ noName CONSTANT)
    Q_PROPERTY(kavrin::TrayToolTip ToolTip READ toolTip NOTIFY NewToolTip)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu CONSTANT)
    Q_PROPERTY(QDBusObjectPath Menu READ menu CONSTANT)

public:
    /// Connects to the session bus, and waits for the connection.
    StatusNotifierItem();

    /// Leaves the tray.
    ~StatusNotifierItem() override;

    /// Whether there is a bus. Without one, the item is in no tray.
    [[nodiscard]] bool isConnected() const { return m_connection.isConnected(); }

    /// Shows `content` from now on. The first call enters the tray.
    void show(const Tray::Content &content);

    [[nodiscard]] QString category() const { return QStringLiteral("ApplicationStatus"); }
    [[nodiscard]] QString id() const;
    [[nodiscard]] QString title() const;
    [[nodiscard]] QString status() const { return QStringLiteral("Active"); }
    [[nodiscard]] TrayPixmaps iconPixmap() const { return m_icon; }
    [[nodiscard]] TrayToolTip toolTip() const { return {{}, {}, m_toolTip, {}}; }
    [[nodiscard]] bool itemIsMenu() const { return false; }
    [[nodiscard]] QDBusObjectPath menu() const;
    [[nodiscard]] QString noName() const { return {}; }
    [[nodiscard]] TrayPixmaps noPixmap() const { return {}; }

    /// The interface as panels call it. The pointer's position has no meaning here.
    Q_SCRIPTABLE Q_SLOT void Activate(int x, int y);
    Q_SCRIPTABLE Q_SLOT void SecondaryActivate(int x, int y);
    Q_SCRIPTABLE Q_SLOT void ContextMenu(int x, int y);
    Q_SCRIPTABLE Q_SLOT void Scroll(int delta, const QString &orientation);

    /// The compositor's token, which lets the window that the next click opens come to the front.
    Q_SCRIPTABLE Q_SLOT void ProvideXdgActivationToken(const QString &token);

Q_SIGNALS:
    /// The icon was clicked.
    void activated();

    /// The user has chosen an entry of the menu; the first is 0.
    void chosen(int entry);

    Q_SCRIPTABLE void NewIcon();
    Q_SCRIPTABLE void NewToolTip();

private:
    void setIcon(const TrayPixmaps &icon);
    void setToolTip(const QString &toolTip);
    void enterTray();

    QDBusConnection m_connection;
    DBusMenu m_menu;
    TrayPixmaps m_icon;
    QString m_toolTip;
    bool m_isInTray = false;
};

} // namespace kavrin
