// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QString>

/// The user's own units of systemd.
namespace kavrin::SystemdUnit
{

/// Has systemd start the unit now and at each login. Resumes with whether it does: it may well not be there,
/// or not know the unit. What it says is for nobody.
QCoro::Task<bool> enable(QString unit);

} // namespace kavrin::SystemdUnit
