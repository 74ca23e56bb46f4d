// SPDX-License-Identifier: MIT
#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>
#include <vector>

namespace kavrin::test
{

/// A display without a screen, of this process's own, which nobody types at. The environment of this process
/// leads to it. Needs a PrivateHome.
class PrivateDisplay
{
public:
    virtual ~PrivateDisplay();

    PrivateDisplay(const PrivateDisplay &) = delete;
    PrivateDisplay &operator=(const PrivateDisplay &) = delete;

    /// Runs `program` on the display until the display is destroyed.
    void show(const QString &program, const QStringList &arguments);

    /// What another program reads from the clipboard as text, or as the type `type`; empty where it is not of
    /// that type.
    [[nodiscard]] virtual QString clipboard(const QString &type = {}) const = 0;

    /// Kills the display's server.
    void endServer();

    /// Presses a key in the window that has the focus.
    virtual void press() = 0;

protected:
    PrivateDisplay() = default;

    /// Starts `program` and returns the first line of its output. Throws std::runtime_error where it ends
    /// before.
    QString startServer(const QString &program, const QStringList &arguments);

    static QString output(const QString &program, const QStringList &arguments);

private:
    QProcess m_server;
    std::vector<std::unique_ptr<QProcess>> m_clients;
};

/// An X11 server (Xvfb), its clipboard read by xclip.
class PrivateX11Display : public PrivateDisplay
{
public:
    PrivateX11Display();
    [[nodiscard]] QString clipboard(const QString &type = {}) const override;
    void press() override;
};

/// A Wayland compositor (sway) with data-control, its clipboard read by wl-paste.
class PrivateWaylandDisplay : public PrivateDisplay
{
public:
    PrivateWaylandDisplay();
    [[nodiscard]] QString clipboard(const QString &type = {}) const override;
    void press() override;

private:
    QTemporaryDir m_folder;
};

} // namespace kavrin::test
