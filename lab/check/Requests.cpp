#include "lab/check/Requests.h"

#include <algorithm>
#include <utility>

#include "lab/support/RandomData.h"

namespace korvan::lab::check {
namespace {

constexpr std::size_t ClientDataHashSize = 32;

ProviderMessage report(std::string_view type, std::string_view relyingParty) {
  return {
      {"type", type}, {"allowsUserInteraction", false}, {"relyingPartyIdentifier", relyingParty}};
}

}  // namespace

Data newIdentifier() {
  constexpr std::size_t Size = 32;
  return randomData(Size);
}

std::vector<Data> manyIdentifiersAnd(const Data& last) {
  // Numbers of objects above 255 take two bytes in a property list.
  constexpr std::size_t Many = 300;
  std::vector<Data> all(Many);
  std::ranges::generate(all, newIdentifier);
  all.insert(all.end(), 2, last);
  return all;
}

PropertyListValue arrayOf(const std::vector<Data>& items) {
  PropertyListValue::Array array;
  for (const Data& item : items) {
    array.emplace_back(item);
  }
  return array;
}

ProviderMessage synchronizeRequest(AllowsUser allowsUser) {
  return {{"type", provider_request_type::synchronize}, {"allowsUserInteraction", allowsUser}};
}

ProviderMessage registrationRequest(std::string_view relyingParty, std::string_view userName,
                                    const Data& userHandle, AllowsUser allowsUser) {
  return {{"type", provider_request_type::registration},
          {"allowsUserInteraction", allowsUser},
          {"conditional", !allowsUser},
          {"relyingPartyIdentifier", relyingParty},
          {"userName", userName},
          {"userHandle", userHandle},
          {"clientDataHash", randomData(ClientDataHashSize)},
          {"supportedAlgorithms", PropertyListValue::Array{Es256}},
          {"excludedCredentials", PropertyListValue::Array{}},
          {"userVerificationPreference", "preferred"},
          {"recordIdentifier", ""}};
}

ProviderMessage assertionRequest(std::string_view relyingParty, const Data& credentialID,
                                 AllowsUser allowsUser) {
  return {{"type", allowsUser ? provider_request_type::interactiveAssertion
                              : provider_request_type::assertion},
          {"allowsUserInteraction", allowsUser},
          {"relyingPartyIdentifier", relyingParty},
          {"clientDataHash", randomData(ClientDataHashSize)},
          {"userVerificationPreference", "preferred"},
          {"recordIdentifier", ""},
          {"credentialID", credentialID},
          {"allowedCredentials", PropertyListValue::Array{}}};
}

ProviderMessage userNameReport(std::string_view relyingParty, const Data& userHandle,
                               std::string_view userName) {
  ProviderMessage message = report(provider_request_type::updateUserName, relyingParty);
  message["userHandle"] = userHandle;
  message["userName"] = userName;
  return message;
}

ProviderMessage unknownCredentialReport(std::string_view relyingParty, const Data& credentialID) {
  ProviderMessage message = report(provider_request_type::removeUnknownCredential, relyingParty);
  message["credentialID"] = credentialID;
  return message;
}

ProviderMessage acceptedCredentialsReport(std::string_view relyingParty, const Data& userHandle,
                                          const std::vector<Data>& credentialIDs) {
  ProviderMessage message = report(provider_request_type::acceptedCredentials, relyingParty);
  message["userHandle"] = userHandle;
  message["acceptedCredentialIDs"] = arrayOf(credentialIDs);
  return message;
}

}  // namespace korvan::lab::check
