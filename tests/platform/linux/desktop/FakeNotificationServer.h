// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <vector>

namespace kavrin::test
{

/// Stands for the desktop's server of notifications. It shows each one when the test says so, or at once.
class FakeNotificationServer : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    explicit FakeNotificationServer(QDBusConnection bus);
    ~FakeNotificationServer() override;

    /// One that it has been asked to show.
    struct Asked {
        uint replaced = 0;
        QString title;
        QString text;
        QStringList actions;
        QVariantMap hints;
        int expiry = 0;
    };
    Asked last;
    bool isShown = false; ///< the last one
    bool answersAtOnce = false;

    /// The texts of all that it has been asked to show.
    QStringList asked;

    /// The numbers of those that it has been asked to close.
    std::vector<uint> closed;

    /// Answers the oldest question that is open: what it can do, or the number of what it shows.
    void answer();

    [[nodiscard]] bool isAsked() const { return !m_open.empty(); }

    Q_SLOT QStringList GetCapabilities();
    Q_SLOT uint Notify(const QString &application, uint replaced, const QString &icon, const QString &title,
                       const QString &text, const QStringList &actions, const QVariantMap &hints, int expiry);
    Q_SLOT void CloseNotification(uint number);

Q_SIGNALS:
    void ActionInvoked(uint number, const QString &action);
    void ActivationToken(uint number, const QString &token);

private:
    void leaveOpen(const QVariant &answer);

    QDBusConnection m_bus;
    std::vector<QDBusMessage> m_open; ///< the answers to the questions that are open
    uint m_last = 0;
};

} // namespace kavrin::test
