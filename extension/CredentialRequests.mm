#include "extension/CredentialRequests.h"

#include <optional>
#include <utility>

#include "platform/apple/Conversions.h"

namespace korvan {
namespace {

std::optional<PasskeyCredentialIdentity> identityOf(id identity) {
  ASPasskeyCredentialIdentity* const checked =
      instanceOf([ASPasskeyCredentialIdentity class], identity);
  if (checked == nil) {
    return std::nullopt;
  }
  return PasskeyCredentialIdentity{
      .recordIdentifier = stringOf(checked.recordIdentifier),
      .relyingPartyIdentifier = stringOf(checked.relyingPartyIdentifier),
      .userName = stringOf(checked.userName),
      .userHandle = dataOf(checked.userHandle),
      .credentialID = dataOf(checked.credentialID)};
}

PasskeyCredentialDescriptor descriptorOf(id descriptor) {
  if (![descriptor respondsToSelector:@selector(credentialID)]) {
    return {};
  }
  // Of any class: what is excluded counts, not how it is described.
  id const credentialID =
      ((ASAuthorizationPlatformPublicKeyCredentialDescriptor*)descriptor).credentialID;
  return {.credentialID =
              credentialID != nil ? std::optional(valueOf(credentialID)) : std::nullopt};
}

std::optional<PasskeyCredentialRequest::Descriptors> descriptorsOf(id descriptors) {
  NSArray* const checked = instanceOf([NSArray class], descriptors);
  if (checked == nil) {
    return std::nullopt;
  }
  PasskeyCredentialRequest::Descriptors list;
  for (id descriptor in checked) {
    list.push_back(descriptorOf(descriptor));
  }
  return list;
}

std::optional<PasskeyCredentialRequest::Descriptors> excludedCredentialsOf(
    ASPasskeyCredentialRequest* request) {
  // Callers have checked the system's version.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wunguarded-availability-new"
  return descriptorsOf(request.excludedCredentials);
#pragma clang diagnostic pop
}

}  // namespace

std::shared_ptr<const PasskeyCredentialRequest> passkeyCredentialRequestOf(id request) {
  ASPasskeyCredentialRequest* const checked =
      instanceOf([ASPasskeyCredentialRequest class], request);
  if (checked == nil) {
    return nullptr;
  }
  auto record = std::make_shared<PasskeyCredentialRequest>();
  record->credentialIdentity = identityOf(checked.credentialIdentity);
  record->clientDataHash = dataOf(checked.clientDataHash);
  record->userVerificationPreference = stringOf(checked.userVerificationPreference);
  record->supportedAlgorithms = arrayOf(checked.supportedAlgorithms);
  record->excludedCredentials = [checked] { return excludedCredentialsOf(checked); };
  return record;
}

std::shared_ptr<const CredentialRequest> credentialRequestOf(id request) {
  if (auto passkey = passkeyCredentialRequestOf(request)) {
    return passkey;
  }
  return request != nil ? std::make_shared<CredentialRequest>() : nullptr;
}

std::shared_ptr<const PasskeyCredentialRequestParameters> requestParametersOf(id parameters) {
  ASPasskeyCredentialRequestParameters* const checked =
      instanceOf([ASPasskeyCredentialRequestParameters class], parameters);
  if (checked == nil) {
    return nullptr;
  }
  return std::make_shared<PasskeyCredentialRequestParameters>(PasskeyCredentialRequestParameters{
      .relyingPartyIdentifier = stringOf(checked.relyingPartyIdentifier),
      .clientDataHash = dataOf(checked.clientDataHash),
      .userVerificationPreference = stringOf(checked.userVerificationPreference),
      .allowedCredentials = arrayOf(checked.allowedCredentials)});
}

std::vector<std::string> serviceIdentifiersOf(id identifiers) {
  std::vector<std::string> list;
  for (id element in (NSArray*)instanceOf([NSArray class], identifiers)) {
    ASCredentialServiceIdentifier* const checked =
        instanceOf([ASCredentialServiceIdentifier class], element);
    if (auto identifier = stringOf(checked.identifier)) {
      list.push_back(*std::move(identifier));
    }
  }
  return list;
}

}  // namespace korvan
