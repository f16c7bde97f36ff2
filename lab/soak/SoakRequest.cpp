#include "lab/soak/SoakRequest.h"

#include <array>
#include <memory>
#include <vector>

#include "channel/ProviderMessage.h"
#include "lab/soak/Behavior.h"
#include "platform/CredentialRequest.h"

namespace korvan::lab::soak {
namespace {

namespace type = provider_request_type;

constexpr std::int64_t Es256 = -7;

std::shared_ptr<const PasskeyCredentialRequest> passkeyRequest(std::uint64_t number) {
  auto request = std::make_shared<PasskeyCredentialRequest>();
  request->credentialIdentity =
      PasskeyCredentialIdentity{.recordIdentifier = "record " + std::to_string(number),
                                .relyingPartyIdentifier = relyingPartyOf(number),
                                .userName = "user " + std::to_string(number),
                                .userHandle = dataOf(number, "userHandle"),
                                .credentialID = dataOf(number, "credentialID")};
  request->clientDataHash = dataOf(number, "clientDataHash");
  request->supportedAlgorithms = PropertyListValue::Array{Es256};
  return request;
}

Call listCall(std::uint64_t number) {
  return credentialListCall(
      {}, std::make_shared<PasskeyCredentialRequestParameters>(PasskeyCredentialRequestParameters{
              .relyingPartyIdentifier = relyingPartyOf(number),
              .clientDataHash = dataOf(number, "clientDataHash"),
              .userVerificationPreference = {},
              .allowedCredentials = PropertyListValue::Array{dataOf(number, "credentialID")}}));
}

using enum Ask::Kind;

using Number = std::uint64_t;

constexpr auto Asks = std::to_array<Ask>({
    {"silent assertion", assertion, type::assertion,
     [](Number number) { return silentAssertionCall(passkeyRequest(number)); }},
    {"interactive assertion", assertion, type::interactiveAssertion,
     [](Number number) { return interactiveAssertionCall(passkeyRequest(number)); }},
    {"assertion from the list", assertion, type::interactiveAssertion, listCall},
    {"interactive registration", registration, type::registration,
     [](Number number) { return interactiveRegistrationCall(passkeyRequest(number)); }},
    {"conditional registration", registration, type::registration,
     [](Number number) { return silentRegistrationCall(passkeyRequest(number)); }},
    {"configuration", configuration, type::synchronize,
     [](Number /*number*/) { return configurationCall(); }},
    {"report of a user name", report, type::updateUserName,
     [](Number number) {
       return updatedUserNameReport(relyingPartyOf(number), dataOf(number, "userHandle"),
                                    "new name");
     }},
    {"report of an unknown credential", report, type::removeUnknownCredential,
     [](Number number) {
       return unknownCredentialReport(relyingPartyOf(number), dataOf(number, "credentialID"));
     }},
    {"report of accepted credentials", report, type::acceptedCredentials,
     [](Number number) {
       return acceptedCredentialsReport(relyingPartyOf(number), dataOf(number, "userHandle"),
                                        PropertyListValue::Array{dataOf(number, "credentialID")});
     }},
});

constexpr std::array ErrorCodes = {provider_error_code::failed,
                                   provider_error_code::unavailable,
                                   provider_error_code::vaultLocked,
                                   provider_error_code::userInteractionRequired,
                                   provider_error_code::userCanceled,
                                   provider_error_code::credentialNotFound,
                                   provider_error_code::matchedExcludedCredential};

const Behavior& chosenBehavior(std::uint64_t random) {
  unsigned sum = 0;
  for (const Behavior& behavior : behaviors()) {
    sum += behavior.weight;
  }
  auto weight = static_cast<unsigned>(random % sum);
  const auto* behavior = behaviors().data();
  for (; weight >= behavior->weight; ++behavior) {
    weight -= behavior->weight;
  }
  return *behavior;
}

}  // namespace

std::span<const Ask> asks() noexcept { return Asks; }

std::string relyingPartyOf(std::uint64_t number) {
  return "n" + std::to_string(number) + ".example";
}

Data dataOf(std::uint64_t number, std::string_view name) {
  const std::string text = std::string(name) + " of request " + std::to_string(number);
  return Data::copyOf({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

SoakRequest SoakPlan::next() {
  SoakRequest request{.number = count_++};
  request.ask = &Asks[random_() % Asks.size()];
  request.behavior = &chosenBehavior(random_());
  request.errorCode = ErrorCodes[random_() % ErrorCodes.size()];
  request.revives = random_() % 2 == 0;
  return request;
}

}  // namespace korvan::lab::soak
