#include "extension/AppleController.h"

#include <utility>

namespace korvan {

AppleController::AppleController(ASCredentialProviderViewController* owner,
                                 std::shared_ptr<const Services> services)
    : CredentialProviderViewController(std::move(services)), owner_(owner) {}

void AppleController::performRequest(ProviderMessage request, ProviderCompletion completion) {
  if (completion) {
    ASCredentialProviderViewController* const owner = owner_;
    completion = [owner, completion = std::move(completion)](const ProviderMessage& response) {
      (void)owner;
      completion(response);
    };
  }
  CredentialProviderViewController::performRequest(std::move(request), std::move(completion));
}

}  // namespace korvan
