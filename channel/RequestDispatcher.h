#pragma once

#include <functional>
#include <memory>

#include "channel/ProviderMessage.h"
#include "platform/Services.h"

namespace korvan {

/// Receives the response to a request: the host's own, unchanged, or a failure response.
using ProviderCompletion = std::function<void(const ProviderMessage& response)>;

/// Sends `request` to the host application and calls `completion` with the response.
///
/// Returns at once; the exchange runs in the background. When the host is not running and the
/// request allows user interaction, the host is opened and waited for.
///
/// `completion` is called on the main thread at most once: exactly once unless `controller` has
/// gone before the answer came. It may be empty, when nobody waits for the answer. It is called
/// before this function returns when the request cannot even be started: no app group container, or
/// a request that cannot be encoded.
void dispatchProviderRequest(const std::shared_ptr<const Services>& services,
                             std::weak_ptr<const void> controller, ProviderMessage request,
                             ProviderCompletion completion);

}  // namespace korvan
