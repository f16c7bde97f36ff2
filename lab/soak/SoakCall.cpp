#include "lab/soak/SoakCall.h"

#include <memory>
#include <string>
#include <vector>

#include "platform/CredentialRequest.h"

namespace korvan::lab::soak {
namespace {

using Controller = CredentialProviderViewController;

constexpr std::int64_t Es256 = -7;

std::shared_ptr<const PasskeyCredentialRequest> passkeyRequest(const SoakPlan& plan,
                                                               std::uint64_t number) {
  auto request = std::make_shared<PasskeyCredentialRequest>();
  request->credentialIdentity =
      PasskeyCredentialIdentity{.recordIdentifier = "record " + std::to_string(number),
                                .relyingPartyIdentifier = SoakPlan::relyingPartyOf(number),
                                .userName = "user " + std::to_string(number),
                                .userHandle = plan.dataOf(number, "userHandle"),
                                .credentialID = plan.dataOf(number, "credentialID")};
  request->clientDataHash = plan.dataOf(number, "clientDataHash");
  request->supportedAlgorithms = {Es256};
  return request;
}

std::shared_ptr<const PasskeyCredentialRequestParameters> parameters(const SoakPlan& plan,
                                                                     std::uint64_t number) {
  return std::make_shared<PasskeyCredentialRequestParameters>(PasskeyCredentialRequestParameters{
      .relyingPartyIdentifier = SoakPlan::relyingPartyOf(number),
      .clientDataHash = plan.dataOf(number, "clientDataHash"),
      .userVerificationPreference = {},
      .allowedCredentials = std::vector{plan.dataOf(number, "credentialID")}});
}

}  // namespace

Call soakCall(const SoakPlan& plan, std::uint64_t number) {
  switch (plan.askOf(number)) {
    case Ask::silentAssertion:
      return {.invoke = [request = passkeyRequest(plan, number)](Controller& controller) {
        controller.provideCredentialWithoutUserInteractionForRequest(request);
      }};
    case Ask::interactiveAssertion:
      return {.invoke = [request = passkeyRequest(plan, number)](Controller& controller) {
        controller.prepareInterfaceToProvideCredentialForRequest(request);
      }};
    case Ask::listAssertion:
      return {.invoke = [parameters = parameters(plan, number)](Controller& controller) {
        controller.prepareCredentialListForServiceIdentifiers({}, parameters);
      }};
    case Ask::interactiveRegistration:
      return {.invoke = [request = passkeyRequest(plan, number)](Controller& controller) {
        controller.prepareInterfaceForPasskeyRegistration(request);
      }};
    case Ask::conditionalRegistration:
      return {.invoke = [request = passkeyRequest(plan, number)](Controller& controller) {
        controller.performPasskeyRegistrationWithoutUserInteractionIfPossible(request);
      }};
    case Ask::configuration:
      return configurationCall();
    case Ask::updateUserName:
      return {.invoke =
                  [party = SoakPlan::relyingPartyOf(number),
                   handle = plan.dataOf(number, "userHandle")](Controller& controller) {
                    controller.reportPublicKeyCredentialUpdateForRelyingParty(party, handle,
                                                                              "new name");
                  },
              .isReport = true};
    case Ask::removeUnknownCredential:
      return {.invoke =
                  [party = SoakPlan::relyingPartyOf(number),
                   credential = plan.dataOf(number, "credentialID")](Controller& controller) {
                    controller.reportUnknownPublicKeyCredentialForRelyingParty(party, credential);
                  },
              .isReport = true};
    case Ask::acceptedCredentials:
      return {
          .invoke =
              [party = SoakPlan::relyingPartyOf(number), handle = plan.dataOf(number, "userHandle"),
               credential = plan.dataOf(number, "credentialID")](Controller& controller) {
                controller.reportAllAcceptedPublicKeyCredentialsForRelyingParty(
                    party, handle, std::vector{credential});
              },
          .isReport = true};
  }
  return {};
}

}  // namespace korvan::lab::soak
