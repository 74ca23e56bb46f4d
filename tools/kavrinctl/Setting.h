// SPDX-License-Identifier: MIT
#pragma once

#include "store/Prefs.h"

#include <QStringList>

namespace kavrin::ctl
{

/// The keys of all settings that have a value, in alphabetical order.
QStringList settingKeys();

/// The setting `key` of the catalogue. Throws Refusal if there is none, or if it is an action.
const Prefs::Item &findSetting(const QString &key);

/// A person's text as a value that the setting's control could enter. Throws Refusal if it does not fit.
PropertyListValue enteredValue(const Prefs::Item &item, const QString &text);

/// Asks for a value of the setting `key` that no other user may see. Throws Refusal if none is entered.
QString askForValue(const QString &key);

/// Throws Refusal if the settings cannot be read. Prefs would have their defaults then.
void expectReadableSettings();

/// The present value for a person: secrets are masked, numbers have their unit.
QString displayValue(const Prefs::Item &item);

} // namespace kavrin::ctl
