#include "lab/system/Call.h"

#include <utility>

namespace korvan::lab {
namespace {

using Controller = CredentialProviderViewController;

template <auto EntryPoint, typename... Arguments>
Call callOf(Arguments... arguments) {
  return {.invoke = [... arguments = std::move(arguments)](Controller& controller) {
    (controller.*EntryPoint)(arguments...);
  }};
}

template <auto EntryPoint, typename... Arguments>
Call reportOf(Arguments... arguments) {
  Call call = callOf<EntryPoint>(std::move(arguments)...);
  call.isReport = true;
  return call;
}

}  // namespace

Call configurationCall() {
  return callOf<&Controller::prepareInterfaceForExtensionConfiguration>();
}

Call credentialListCall(std::vector<std::string> serviceIdentifiers,
                        Controller::RequestParameters requestParameters) {
  return callOf<&Controller::prepareCredentialListForServiceIdentifiers>(
      std::move(serviceIdentifiers), std::move(requestParameters));
}

Call silentAssertionCall(Controller::AnyRequest request) {
  return callOf<&Controller::provideCredentialWithoutUserInteractionForRequest>(std::move(request));
}

Call interactiveAssertionCall(Controller::AnyRequest request) {
  return callOf<&Controller::prepareInterfaceToProvideCredentialForRequest>(std::move(request));
}

Call interactiveRegistrationCall(Controller::AnyRequest request) {
  return callOf<&Controller::prepareInterfaceForPasskeyRegistration>(std::move(request));
}

Call silentRegistrationCall(Controller::PasskeyRequest request) {
  return callOf<&Controller::performPasskeyRegistrationWithoutUserInteractionIfPossible>(
      std::move(request));
}

Call updatedUserNameReport(std::optional<std::string> relyingParty, std::optional<Data> userHandle,
                           std::optional<std::string> newName) {
  return reportOf<&Controller::reportPublicKeyCredentialUpdateForRelyingParty>(
      std::move(relyingParty), std::move(userHandle), std::move(newName));
}

Call unknownCredentialReport(std::optional<std::string> relyingParty,
                             std::optional<Data> credentialID) {
  return reportOf<&Controller::reportUnknownPublicKeyCredentialForRelyingParty>(
      std::move(relyingParty), std::move(credentialID));
}

Call acceptedCredentialsReport(std::optional<std::string> relyingParty,
                               std::optional<Data> userHandle,
                               std::optional<PropertyListValue::Array> acceptedCredentialIDs) {
  return reportOf<&Controller::reportAllAcceptedPublicKeyCredentialsForRelyingParty>(
      std::move(relyingParty), std::move(userHandle), std::move(acceptedCredentialIDs));
}

}  // namespace korvan::lab
