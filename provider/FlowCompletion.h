#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "channel/ProviderMessage.h"
#include "channel/RequestDispatcher.h"
#include "provider/CredentialProviderViewController.h"

namespace korvan {

/// A flow's completion. Keeps the controller alive until the answer arrives, and decides by `ok`
/// alone: calls `onSuccess` with the controller and the response, or cancelForResponse.
template <typename OnSuccess>
[[nodiscard]] ProviderCompletion flowCompletion(
    std::shared_ptr<CredentialProviderViewController> controller, OnSuccess onSuccess) {
  return [controller = std::move(controller), onSuccess](const ProviderMessage& response) {
    if (booleanForKey(response, provider_message_key::ok)) {
      std::invoke(onSuccess, *controller, response);
    } else {
      controller->cancelForResponse(response);
    }
  };
}

}  // namespace korvan
