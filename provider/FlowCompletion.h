#pragma once

#include <memory>
#include <utility>

#include "channel/ProviderMessage.h"
#include "channel/RequestDispatcher.h"
#include "provider/CredentialProviderViewController.h"

namespace korvan {

/// A flow's completion: keeps the controller alive until the answer has come, and judges the answer
/// by `ok` alone. `onSuccess` is called with the controller and the response; a failure goes to
/// cancelForResponse.
template <typename OnSuccess>
[[nodiscard]] ProviderCompletion flowCompletion(
    std::shared_ptr<CredentialProviderViewController> controller, OnSuccess onSuccess) {
  return [controller = std::move(controller), onSuccess](const ProviderMessage& response) {
    if (booleanForKey(response, provider_message_key::ok)) {
      onSuccess(*controller, response);
    } else {
      controller->cancelForResponse(response);
    }
  };
}

}  // namespace korvan
