#include "platform/ExtensionContext.h"
#include "provider/CredentialProviderViewController.h"
#include "provider/FlowCompletion.h"

namespace korvan {

namespace key = provider_message_key;

void CredentialProviderViewController::requestConfigurationSynchronization() {
  performRequest(
      {
          {key::allowsUserInteraction, true},
          {key::type, provider_request_type::synchronize},
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
