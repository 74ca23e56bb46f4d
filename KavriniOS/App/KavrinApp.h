// SPDX-License-Identifier: MIT
#pragma once

#include "dictation/DictateModel.h"
#include "screens/SettingsModel.h"

#include <QColor>
#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <memory>

namespace kavrin
{

/// The application: makes the platform's implementations, hands them to whoever uses them, and owns the
/// dictation bridge, the settings and the window that shows them. Needs the QGuiApplication; main thread
/// only.
class KavrinApp : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("There is one.")

    Q_PROPERTY(kavrin::SettingsModel *settings READ settings CONSTANT)
    Q_PROPERTY(kavrin::DictateModelFactory *dictateModels READ dictateModels CONSTANT)
    Q_PROPERTY(bool dark READ isDark NOTIFY appearanceChanged)
    Q_PROPERTY(QColor accentColor READ accentColor NOTIFY appearanceChanged)

public:
    KavrinApp();
    ~KavrinApp() override;

    /// Begins to serve the keyboard. There is no window yet.
    void start();

    /// Opens the window, or brings it to the front, with the activation token of whoever asked for it (empty
    /// where there is none). Each time that it opens the keyboard is told so. Closing it ends the
    /// application, unless there is a tray that goes on showing it.
    void activate(const QString &activationToken);

    /// Does what a desktop offers without opening a window, and what programs ask for over the bus: "dictate"
    /// ends the recording that is under way or begins one; "save-code" notes the verification code in its
    /// parameter, a text, or without one in the text on the clipboard. Any other action does nothing.
    void performAction(const QString &action, const QVariantList &parameters);

    /// Ends serving; stopped() follows.
    void stop();

    /// A URL of the application: the host "dictate" starts dictation, whatever the rest; any other host does
    /// nothing. May be called in a process of its own, while another one serves the keyboard.
    static void openUrl(const QString &url);

    [[nodiscard]] SettingsModel *settings();
    [[nodiscard]] DictateModelFactory *dictateModels();
    [[nodiscard]] bool isDark() const;

    /// Transparent where the desktop has no such setting.
    [[nodiscard]] QColor accentColor() const;

Q_SIGNALS:
    void appearanceChanged();
    /// From now on it is no instance that others could turn to.
    void stopping();
    void stopped();

private:
    void finish();
    void openWindow();
    void onWindowClosed();
    void openVoiceTyping(const QString &activationToken);
    [[nodiscard]] bool isDictationScreenSeen() const;
    void reportScreenFailure(const QString &message);
    static void onAppear();

    struct Services;
    std::unique_ptr<Services> m_services;
};

} // namespace kavrin
