// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QMap>
#include <QStringList>
#include <QVariantMap>

#include <optional>

namespace kavrin::test
{

/// Stands for the desktop's portal and answers as it is told. A test can neither refuse nor withdraw anything
/// at a real one.
class FakePortal : public QDBusVirtualObject
{
    Q_OBJECT

public:
    /// What the user or the desktop says to a question; none while nobody answers.
    struct Answer {
        uint result = 0;
        QVariantMap details;
    };

    /// Takes the place of the one that another connection has.
    explicit FakePortal(QDBusConnection bus);
    ~FakePortal() override;

    /// By the name of the method that asks: "Start". Questions that are not here are granted.
    QMap<QString, std::optional<Answer>> answers;

    /// The name of a method whose calls fail.
    QString refused;

    /// Of the interface that is asked for it.
    uint version = 2;

    /// The names of the methods that were called, each with its arguments after the session that are no
    /// options: "Start", "NotifyKeyboardKeysym 65505 1".
    [[nodiscard]] QStringList calls() const { return m_calls; }

    /// The options of the latest call of a method.
    [[nodiscard]] QVariantMap options(const QString &method) const { return m_options.value(method); }

    /// Ends the session that was opened last.
    void closeSession() const;

    /// Sends a signal of the shortcut "dictate": "Activated".
    void sendShortcut(const QString &signal, const QString &shortcut = QStringLiteral("dictate")) const;

    /// Says that these shortcuts of the session that was opened last have changed.
    void sendChange(const QVariant &changed) const;

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;
    [[nodiscard]] QString introspect(const QString & /*path*/) const override { return {}; }

private:
    void note(const QDBusMessage &message);
    [[nodiscard]] Answer standardAnswer(const QDBusMessage &question);

    QDBusConnection m_bus;
    QStringList m_calls;
    QMap<QString, QVariantMap> m_options;
    QString m_session; ///< the path of the latest
};

} // namespace kavrin::test
