// SPDX-License-Identifier: MIT
#pragma once

#include "store/Prefs.h"

namespace kavrin::ctl
{

/// The setting `key` of the catalogue. Throws Refusal if there is none, or if it is an action.
const Prefs::Item &findSetting(const QString &key);

/// Throws Refusal if the settings cannot be read. Prefs would have their defaults then.
void expectReadableSettings();

/// The present value for a person: secrets are masked, numbers have their unit.
QString displayValue(const Prefs::Item &item);

} // namespace kavrin::ctl
