#include "platform/ExtensionContext.h"
#include "provider/CredentialProviderViewController.h"
#include "provider/FlowCompletion.h"

namespace korvan {

void CredentialProviderViewController::requestConfigurationSynchronization() {
  performRequest(
      {
          {"allowsUserInteraction", true},
          {"type", provider_request_type::synchronize},
      },
      flowCompletion(shared_from_this(),
                     [](CredentialProviderViewController& self, const ProviderMessage&) {
                       self.services_->extensionContext.completeExtensionConfigurationRequest();
                     }));
}

void CredentialProviderViewController::prepareInterfaceForExtensionConfiguration() {
  setRequestParameters(nullptr);
  setCredentialRequest(nullptr);
  setRegistrationRequest(nullptr);
  requestConfigurationSynchronization();
}

}  // namespace korvan
