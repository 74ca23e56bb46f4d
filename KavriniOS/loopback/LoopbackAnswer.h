// SPDX-License-Identifier: MIT
#pragma once

#include "loopback/LoopbackRequest.h"
#include "platform/PropertyListValue.h"

#include <QString>

#include <optional>
#include <string>

namespace kavrin
{

/// What a request asks to have stored in the shared suite.
struct LoopbackWrite {
    QString key;
    PropertyListValue value;
};

/// None where the request asks for nothing of the kind, or is no request. The endpoints are described in
/// docs/loopback.md.
std::optional<LoopbackWrite> loopbackWrite(const std::optional<LoopbackRequest> &request);

/// The request that is answered in the same form as `request`, but stores nothing and learns nothing.
std::optional<LoopbackRequest> withoutEffect(std::optional<LoopbackRequest> request);

/// The whole HTTP answer to a request, which is the same whether what it asked for could be stored or not. No
/// request is one that makes no sense. Reads the shared suite (Shared::d()). Safe from any thread.
std::string loopbackAnswer(const std::optional<LoopbackRequest> &request);

} // namespace kavrin
