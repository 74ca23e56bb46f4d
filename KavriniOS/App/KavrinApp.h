// SPDX-License-Identifier: MIT
#pragma once

#include "dictation/DictateModel.h"
#include "dictation/RecordingModel.h"
#include "platform/Error.h"
#include "screens/SettingsModel.h"
#include "screens/start/GetStarted.h"

#include <QColor>
#include <QCoroTask>
#include <QFuture>
#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <optional>

namespace kavrin
{

/// The application. It makes the platform's implementations and hands them to their users. It owns the
/// dictation bridge, the settings and the window that shows them. Needs the QGuiApplication; main thread
/// only.
class KavrinApp : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("There is one.")

    Q_PROPERTY(kavrin::SettingsModel *settings READ settings CONSTANT)
    Q_PROPERTY(kavrin::DictateModelFactory *dictateModels READ dictateModels CONSTANT)
    Q_PROPERTY(kavrin::RecordingModel *recording READ recording CONSTANT)
    Q_PROPERTY(kavrin::GetStarted *getStarted READ getStarted CONSTANT)
    Q_PROPERTY(bool dark READ isDark NOTIFY appearanceChanged)
    Q_PROPERTY(QColor accentColor READ accentColor NOTIFY appearanceChanged)
    Q_PROPERTY(bool highContrast READ hasHighContrast NOTIFY appearanceChanged)
    Q_PROPERTY(bool reducedMotion READ hasReducedMotion NOTIFY appearanceChanged)

public:
    KavrinApp();
    ~KavrinApp() override;

    /// Begins to serve the keyboard. There is no window yet.
    void start();

    /// Opens the window, or brings it to the front. The activation token comes from the program that asked
    /// for this; it may be empty. Each opening is written into the suite for the keyboard. Closing the window
    /// ends the application, unless a tray still shows it.
    void activate(const QString &activationToken);

    /// Runs an action that desktops offer without opening a window, and that programs ask for on the bus.
    /// "dictate" ends the recording that is running, or begins one. "save-code" stores the verification code
    /// in its parameter, a text; without a parameter, the code in the text on the clipboard.
    /// "reload-settings" reads settings again that another process has changed. "expect-import" before an
    /// import lets the window offer to undo it after "reload-settings". Any other action does nothing.
    /// Resumes when it is done, with what went wrong, if anything.
    QCoro::Task<std::optional<Error>> performAction(QString action, QVariantList parameters);

    /// Stops serving. stopped() follows.
    Q_INVOKABLE void stop();

    /// Whether openUrl() does something.
    static bool isKnownUrl(const QString &url);

    /// Opens a URL of the application. The host "dictate" starts dictation, whatever follows; any other host
    /// does nothing.
    void openUrl(const QString &url);

    /// Stores what a URL asks for, for the process that serves the keyboard. The result says what went wrong.
    static QFuture<std::optional<Error>> storeUrl(const QString &url);

    [[nodiscard]] SettingsModel *settings();
    [[nodiscard]] DictateModelFactory *dictateModels();
    [[nodiscard]] RecordingModel *recording();
    [[nodiscard]] GetStarted *getStarted();
    [[nodiscard]] bool isDark() const;

    /// Transparent if the desktop has no such setting.
    [[nodiscard]] QColor accentColor() const;

    [[nodiscard]] bool hasHighContrast() const;
    [[nodiscard]] bool hasReducedMotion() const;

Q_SIGNALS:
    /// A damaged suite was set aside; `text` says so to the user. Any thread may emit it.
    void damaged(const QString &text);

    void appearanceChanged();
    /// The application is ending: later launches must not hand over to it any more.
    void stopping();
    void stopped();

private:
    void obey(const QString &command);
    void finish();
    void openWindow();
    void keepWindowState();
    void onWindowClosed();
    void openVoiceTyping(const QString &activationToken);
    [[nodiscard]] bool isDictationScreenSeen() const;
    void reportScreenFailure(const QString &message, bool isKept);
    void reportDamage(const QString &text);
    static void onAppear();

    struct Services;
    std::unique_ptr<Services> m_services;
};

} // namespace kavrin
