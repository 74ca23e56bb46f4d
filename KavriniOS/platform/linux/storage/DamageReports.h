// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <functional>

/// What users must know of damaged files, from wherever one is met to whoever can tell them. Any thread.
namespace kavrin::DamageReports
{

/// Hands a text on to the listener, or keeps it for the next one.
void add(const QString &text);

/// See UserDefaults::onDamage().
void listen(std::function<void(const QString &text)> listener);

} // namespace kavrin::DamageReports
