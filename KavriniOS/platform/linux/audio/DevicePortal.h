// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>

#include <stop_token>

/// The desktop's portal to devices, org.freedesktop.portal.Device on the session bus.
namespace kavrin::DevicePortal
{

/// Asks whether this process may use the microphone; the portal may ask the user. Also true if no portal
/// answers this application: the sound server decides then. A request to stop `withdrawn` takes the question
/// back, and the answer is false. Main thread only.
QCoro::Task<bool> accessMicrophone(std::stop_token withdrawn);

} // namespace kavrin::DevicePortal
