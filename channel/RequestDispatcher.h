#pragma once

#include <functional>
#include <memory>

#include "channel/ProviderMessage.h"
#include "platform/Services.h"

namespace korvan {

/// Receives the response to a request: the host's response, unchanged, or a failure response.
using ProviderCompletion = std::function<void(const ProviderMessage& response)>;

/// Sends `request` to the host application and calls `completion` with the response.
///
/// Returns at once; the exchange runs in the background. If the host is not running and the request
/// allows user interaction, opens the host and waits for it.
///
/// Calls `completion` on the main thread, exactly once, or never if `controller` is gone when the
/// answer arrives. `completion` may be empty. If the request cannot even start, because there is no
/// app group container or the request cannot be encoded, calls `completion` before this function
/// returns. What `completion` owns, often the controller and its services, belongs to the thread
/// that calls it, and is released there.
void dispatchProviderRequest(const std::shared_ptr<const Services>& services,
                             std::weak_ptr<const void> controller, ProviderMessage request,
                             ProviderCompletion completion);

}  // namespace korvan
