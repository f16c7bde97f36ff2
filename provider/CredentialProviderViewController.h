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

/// The extension's principal class: the one object that the platform's authentication services
/// call.
///
/// The platform makes one controller a request and calls one entry point of it. The entry point
/// remembers what it was given, sends one message to the host application, and on the answer
/// completes or cancels the platform's request through the extension context.
///
/// Held by std::shared_ptr. Everything runs on the main thread, but for the report entry points,
/// which run on the thread that calls them. A request on its way keeps the controller alive.
///
/// When memory runs out, the process ends, and the system tells the user that the extension has
/// failed: std::bad_alloc is caught nowhere on the way of a request, and those who call an entry
/// point or an action let no exception pass. Until then the request has one outcome or none.
///
/// Methods are messages: they reach each other through the object and may be overridden. Null is
/// "nil".
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

  /// The platform's code for a failure response's `errorCode`; `failed` for one that it does not
  /// know.
  [[nodiscard]] virtual ExtensionErrorCode extensionErrorCodeForResponse(
      const ProviderMessage& response) const;
  /// Cancels the platform's request with the response's code and description.
  virtual void finishCancellationForResponse(const ProviderMessage& response);
  /// Shows the notice in place of what the view shows, and keeps the response until OK is pressed.
  virtual void showUnavailableUIForResponse(const ProviderMessage& response);
  /// OK was pressed: finishes the cancellation that waited for it, if one did.
  virtual void dismissUnavailableUI();
  /// Cancels the platform's request: at once, or when the response asks for the notice, after OK.
  virtual void cancelForResponse(const ProviderMessage& response);

  // Assertion (PasskeyAssertion.cpp).

  /// The assertion request. `record` holds nothing, or a `recordIdentifier` and a `credentialID`,
  /// which then win over the credential request's own.
  [[nodiscard]] virtual ProviderMessage assertionRequestForRecord(const ProviderMessage& record,
                                                                  bool allowsUserInteraction,
                                                                  bool interactive) const;
  /// Completes the platform's request with the credential in a successful response.
  virtual void completeAssertionWithResponse(const ProviderMessage& response);

  // Registration (PasskeyRegistration.cpp).

  /// The registration request for `request`; a null one counts as one whose fields are all none.
  [[nodiscard]] virtual ProviderMessage registrationRequestDictionary(
      const PasskeyCredentialRequest* request, bool allowsUserInteraction, bool conditional) const;
  /// Completes the platform's request with the credential in a successful response.
  virtual void completeRegistrationWithResponse(const ProviderMessage& response);

  // Sending what the properties hold.

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

  // Reports (CredentialUpdateReports.cpp): sent once and forgotten, on the thread that calls.

  /// Sends one report, never allowing user interaction and not waiting for an answer.
  virtual void sendCredentialUpdate(ProviderMessage request);

  // The report entry points throw std::invalid_argument, naming the argument, when one is none.
  virtual void reportPublicKeyCredentialUpdateForRelyingParty(
      const std::optional<std::string>& relyingParty, const std::optional<Data>& userHandle,
      const std::optional<std::string>& newName);
  virtual void reportUnknownPublicKeyCredentialForRelyingParty(
      const std::optional<std::string>& relyingParty, const std::optional<Data>& credentialID);
  virtual void reportAllAcceptedPublicKeyCredentialsForRelyingParty(
      const std::optional<std::string>& relyingParty, const std::optional<Data>& userHandle,
      const std::optional<std::vector<Data>>& acceptedCredentialIDs);

  // The properties.

  /// Of a credential list; goes before the credential request as the source of an assertion's
  /// relying party, client-data hash and user-verification preference.
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
