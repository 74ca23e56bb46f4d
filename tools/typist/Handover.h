// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QCoroTask>
#include <QString>

#include <optional>

/// What the typist does with the shared suite, as docs/keyboard.md describes it for every keyboard. Main
/// thread only.
namespace kavrin::handover
{

/// Stores "start", unless another command lies there. Whether it has done so. Throws Error.
QCoro::Task<bool> storeStart();

/// Whether Kavrin has taken the command.
bool isStartTaken();

/// Takes a "start" back that nobody has taken.
QCoro::Task<> withdrawStart();

/// The transcript of that stamp, marked as used for this keyboard alone. None if another keyboard has used
/// it, or if it is no longer the latest. Throws Error.
QCoro::Task<std::optional<QString>> claimTranscript(double stamp);

} // namespace kavrin::handover
