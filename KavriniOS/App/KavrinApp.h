// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include <memory>

namespace kavrin
{

/// The application: makes the platform's implementations, hands them to whoever uses them, and owns the
/// dictation bridge. Needs the QGuiApplication; main thread only.
class KavrinApp : public QObject
{
    Q_OBJECT

public:
    KavrinApp();
    ~KavrinApp() override;

    /// Tells the keyboard that the application has been opened, and begins to serve it.
    void start();

    /// Ends serving; stopped() follows.
    void stop();

    /// A URL of the application: the host "dictate" starts dictation, whatever the rest; any other host does
    /// nothing. May be called in a process of its own, while another one serves the keyboard.
    static void openUrl(const QString &url);

Q_SIGNALS:
    void stopped();

private:
    struct Services;
    std::unique_ptr<Services> m_services;
};

} // namespace kavrin
