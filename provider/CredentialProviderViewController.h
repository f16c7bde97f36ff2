#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "channel/ProviderMessage.h"
#include "channel/RequestDispatcher.h"
#include "platform/CredentialRequest.h"
#include "platform/Data.h"
#include "platform/Error.h"
#include "platform/Services.h"

namespace korvan {

/// The object whose entry points the platform calls.
///
/// The platform makes one controller per request and calls one of its entry points. The entry point
/// stores its arguments, sends one message to the host application, and completes or cancels the
/// platform's request when the answer arrives.
///
/// Owned by std::shared_ptr. Main thread, except the credential update reports, which run on the
/// caller's thread. A pending request keeps the controller alive.
///
/// When memory runs out, the process ends, and the system tells the user that the extension failed:
/// nothing catches std::bad_alloc during a request, and the callers of entry points and actions let
/// no exception pass. By then the request has had one outcome or none.
///
/// Every method is virtual because it is a message on the platform: a subclass of the principal
/// class may override any of them, and the others then call the override. The extension itself
/// overrides only performRequest. Null means nil.
class CredentialProviderViewController
    : public std::enable_shared_from_this<CredentialProviderViewController> {
 public:
  using RequestParameters = std::shared_ptr<const PasskeyCredentialRequestParameters>;
  using PasskeyRequest = std::shared_ptr<const PasskeyCredentialRequest>;
  using AnyRequest = std::shared_ptr<const CredentialRequest>;

  explicit CredentialProviderViewController(std::shared_ptr<const Services> services);
  CredentialProviderViewController(const CredentialProviderViewController&) = delete;
  CredentialProviderViewController& operator=(const CredentialProviderViewController&) = delete;
  virtual ~CredentialProviderViewController();

  /// Sends one message to the host application; see dispatchProviderRequest.
  virtual void performRequest(ProviderMessage request, ProviderCompletion completion);

  // A failed response becomes a cancellation (ResponseErrors.cpp, UnavailableNotice.cpp).

  /// The platform's code for a failure response's `errorCode`; `failed` for an unknown one.
  [[nodiscard]] virtual ExtensionErrorCode extensionErrorCodeForResponse(
      const ProviderMessage& response) const;
  /// Cancels the platform's request with the response's code and description.
  virtual void finishCancellationForResponse(const ProviderMessage& response);
  /// Replaces the contents of the view with the notice, and keeps the response until OK is pressed.
  virtual void showUnavailableUIForResponse(const ProviderMessage& response);
  /// OK was pressed: finishes the pending cancellation, if there is one.
  virtual void dismissUnavailableUI();
  /// Cancels the platform's request: at once, or after OK if the response asks for the notice.
  virtual void cancelForResponse(const ProviderMessage& response);

  // Assertion (PasskeyAssertion.cpp).

  /// The assertion request. A `recordIdentifier` and a `credentialID` in `record` take precedence
  /// over those of the credential request.
  [[nodiscard]] virtual ProviderMessage assertionRequestForRecord(const ProviderMessage& record,
                                                                  bool allowsUserInteraction,
                                                                  bool interactive) const;
  /// Completes the platform's request with the credential in a successful response.
  virtual void completeAssertionWithResponse(const ProviderMessage& response);

  // Registration (PasskeyRegistration.cpp).

  /// The registration request for `request`. Null counts as a request whose fields are all nullopt.
  [[nodiscard]] virtual ProviderMessage registrationRequestDictionary(
      const PasskeyCredentialRequest* request, bool allowsUserInteraction, bool conditional) const;
  /// Completes the platform's request with the credential in a successful response.
  virtual void completeRegistrationWithResponse(const ProviderMessage& response);

  // Send the requests that the properties describe.

  virtual void requestInteractiveAssertion();
  virtual void requestInteractiveRegistration();
  /// ConfigurationSynchronization.cpp.
  virtual void requestConfigurationSynchronization();

  // The platform's entry points.

  virtual void prepareInterfaceForExtensionConfiguration();
  virtual void prepareCredentialListForServiceIdentifiers(
      const std::vector<std::string>& serviceIdentifiers, RequestParameters requestParameters);
  virtual void provideCredentialWithoutUserInteractionForRequest(AnyRequest credentialRequest);
  virtual void prepareInterfaceToProvideCredentialForRequest(AnyRequest credentialRequest);
  virtual void prepareInterfaceForPasskeyRegistration(AnyRequest registrationRequest);
  virtual void performPasskeyRegistrationWithoutUserInteractionIfPossible(
      const PasskeyRequest& registrationRequest);

  // Credential update reports (CredentialUpdateReports.cpp): sent once, on the caller's thread.

  /// Sends one report. Never allows user interaction, and ignores the answer.
  virtual void sendCredentialUpdate(ProviderMessage request);

  // These throw std::invalid_argument that names the argument when one is nullopt.
  virtual void reportPublicKeyCredentialUpdateForRelyingParty(
      const std::optional<std::string>& relyingParty, const std::optional<Data>& userHandle,
      const std::optional<std::string>& newName);
  virtual void reportUnknownPublicKeyCredentialForRelyingParty(
      const std::optional<std::string>& relyingParty, const std::optional<Data>& credentialID);
  virtual void reportAllAcceptedPublicKeyCredentialsForRelyingParty(
      const std::optional<std::string>& relyingParty, const std::optional<Data>& userHandle,
      const std::optional<PropertyListValue::Array>& acceptedCredentialIDs);

  // The properties.

  /// The parameters of a credential list. They take precedence over the credential request as the
  /// source of an assertion's relying party, client-data hash and user-verification preference.
  [[nodiscard]] virtual RequestParameters requestParameters() const;
  virtual void setRequestParameters(RequestParameters requestParameters);
  /// The assertion being served.
  [[nodiscard]] virtual PasskeyRequest credentialRequest() const;
  virtual void setCredentialRequest(PasskeyRequest credentialRequest);
  /// The interactive registration being served.
  [[nodiscard]] virtual PasskeyRequest registrationRequest() const;
  virtual void setRegistrationRequest(PasskeyRequest registrationRequest);
  /// The failure response whose cancellation waits for OK.
  [[nodiscard]] virtual std::optional<ProviderMessage> pendingUnavailableResponse() const;
  virtual void setPendingUnavailableResponse(std::optional<ProviderMessage> response);

 private:
  const std::shared_ptr<const Services> services_;
  RequestParameters requestParameters_;
  PasskeyRequest credentialRequest_;
  PasskeyRequest registrationRequest_;
  std::optional<ProviderMessage> pendingUnavailableResponse_;
};

}  // namespace korvan
