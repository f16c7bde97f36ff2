#include "lab/site/RelyingParty.h"

#include <cstddef>
#include <string_view>
#include <utility>

#include <nlohmann/json.hpp>

#include "lab/site/ValueWords.h"
#include "lab/support/Base64Url.h"
#include "lab/support/RandomData.h"

namespace korvan::lab {
namespace {

constexpr std::size_t ChallengeSize = 32;

std::string clientData(std::string_view identifier, RelyingParty::Ceremony ceremony) {
  // In the order in which browsers write it.
  return nlohmann::ordered_json{
      {"type",
       ceremony == RelyingParty::Ceremony::registration ? "webauthn.create" : "webauthn.get"},
      {"challenge", base64Url(randomData(ChallengeSize).bytes())},
      {"origin", std::string("https://").append(identifier)},
      {"crossOrigin", false}}
      .dump();
}

}  // namespace

RelyingParty::RelyingParty(std::string identifier, UserVerification userVerification,
                           Ceremony ceremony)
    : identifier_(std::move(identifier)),
      userVerification_(userVerification),
      clientDataJSON_(clientData(identifier_, ceremony)),
      clientDataHash_(sha256(clientDataJSON_)) {}

std::string RelyingParty::userVerificationPreference() const {
  switch (userVerification_) {
    case UserVerification::discouraged:
      return "discouraged";
    case UserVerification::preferred:
      return "preferred";
    case UserVerification::required:
      return "required";
  }
  return {};
}

RequestTerms RelyingParty::requestTerms(bool presenceRequired) const {
  return {.relyingParty = identifier_,
          .clientDataHash = clientDataHash_,
          .verificationRequired = userVerification_ == UserVerification::required,
          .presenceRequired = presenceRequired};
}

FindingList RelyingParty::verify(const ProviderMessage& answer, AssertionTerms terms) const {
  terms.request = requestTerms(true);
  return judgeAssertion(answer, terms);
}

RegistrationReview RelyingParty::verify(const ProviderMessage& answer,
                                        const CreationOptions& options) const {
  return judgeRegistration(answer, {.request = requestTerms(!options.conditional),
                                    .userHandle = options.userHandle,
                                    .algorithms = options.algorithms,
                                    .excludedCredentials = options.excludedCredentials});
}

}  // namespace korvan::lab
