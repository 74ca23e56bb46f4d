// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QMap>
#include <QMutex>
#include <QObject>
#include <QThread>
#include <QVariantMap>

#include <future>
#include <vector>

namespace kavrin::test
{

/// Stands for org.freedesktop.portal.Settings of the desktop's portal. It answers in a thread of its own, so
/// that the test's may wait for it. Main thread only, all the same.
class FakeSettingsPortal : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    enum class Answer {
        AtOnce,
        WhenTold, ///< with answer()
        Refusal,
    };

    /// By namespace, by key.
    using Settings = QMap<QString, QVariantMap>;

    FakeSettingsPortal(QDBusConnection bus, Settings settings, Answer answer = Answer::AtOnce);

    /// `appearance` are the settings of org.freedesktop.appearance.
    FakeSettingsPortal(QDBusConnection bus, const QVariantMap &appearance, Answer answer = Answer::AtOnce);
    ~FakeSettingsPortal() override;

    /// Answers what has been asked so far.
    void answer();

    /// Tells that a setting is another one now.
    void change(const QString &settings, const QString &key, const QVariant &value);

    [[nodiscard]] std::size_t callCount() const;

    Q_SLOT void ReadAll(const QStringList &namespaces);

private:
    /// With the namespaces that were asked for.
    void reply(const QDBusMessage &call);

    QDBusConnection m_bus;
    Settings m_settings;
    Answer m_answer;
    mutable QMutex m_mutex;
    std::vector<QDBusMessage> m_calls;
    std::promise<void> m_ended;
    QThread m_thread;
};

} // namespace kavrin::test
