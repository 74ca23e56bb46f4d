// SPDX-License-Identifier: MIT
#pragma once

#include "platform/TypingKey.h"

#include <QDBusConnection>

namespace kavrin
{

/// The key of kavrin-typist, which is app.kavrin.Typist on the session bus.
class TypistKey : public TypingKey
{
public:
    explicit TypistKey(QDBusConnection bus = QDBusConnection::sessionBus());

    QCoro::Task<QString> name() override;
    QCoro::Task<QString> setUp() override;
    [[nodiscard]] QString command() const override;

private:
    QDBusConnection m_bus;
};

} // namespace kavrin
