// SPDX-License-Identifier: MIT
#include "App/FailureNotices.h"

#include "store/MaskedLine.h"

#include <QTimer>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

const Notifications::Button again = {u"again"_s, u"Try again"_s};
const Notifications::Button settings = {u"settings"_s, u"Settings"_s};

} // namespace

FailureNotices::FailureNotices(Notifications &notifications) : m_notifications(notifications)
{
    connect(&notifications, &Notifications::activated, this, &FailureNotices::activated);
    connect(&notifications, &Notifications::pressed, this, &FailureNotices::onPressed);
}

void FailureNotices::onPressed(const QString &button, const QString &activationToken)
{
    if (button == again.name) {
        Q_EMIT retryRequested();
    } else if (button == settings.name) {
        Q_EMIT activated(activationToken);
    }
}

int FailureNotices::rememberKeys()
{
    m_keys[++m_lastExchange] = keysInForce();
    return m_lastExchange;
}

void FailureNotices::forgetKeysSoon(int exchange)
{
    QTimer::singleShot(0, this, [this, exchange] { m_keys.erase(exchange); });
}

void FailureNotices::report(const QString &message, bool isKept)
{
    const QString text = line(message);
    Q_EMIT reported(text);
    m_notifications.show({.title = u"Voice typing"_s,
                          .text = text,
                          .action = u"Open voice typing"_s,
                          .buttons = isKept ? QList{again, settings} : QList{settings},
                          .stay = Notifications::Stay::UntilSeen});
}

QString FailureNotices::line(const QString &message) const
{
    QStringList keys = keysInForce();
    for (const auto &[exchange, remembered] : m_keys) {
        keys += remembered;
    }
    return maskedLine(message, keys);
}

} // namespace kavrin
