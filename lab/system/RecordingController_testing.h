#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/CredentialRequest.h"
#include "platform/Data.h"
#include "provider/CredentialProviderViewController.h"

namespace korvan::lab {

/// Keeps what its entry points are called with, and does nothing else.
class RecordingController final : public CredentialProviderViewController {
 public:
  RecordingController() : CredentialProviderViewController(nullptr) {}

  void prepareInterfaceForExtensionConfiguration() override { called = "configuration"; }
  void prepareCredentialListForServiceIdentifiers(const std::vector<std::string>& identifiers,
                                                  RequestParameters given) override {
    called = "list";
    services = identifiers;
    parameters = std::move(given);
  }
  void provideCredentialWithoutUserInteractionForRequest(AnyRequest given) override {
    called = "silent assertion";
    request = std::move(given);
  }
  void prepareInterfaceToProvideCredentialForRequest(AnyRequest given) override {
    called = "interactive assertion";
    request = std::move(given);
  }
  void prepareInterfaceForPasskeyRegistration(AnyRequest given) override {
    called = "interactive registration";
    request = std::move(given);
  }
  void performPasskeyRegistrationWithoutUserInteractionIfPossible(
      const PasskeyRequest& given) override {
    called = "silent registration";
    request = given;
  }
  void reportPublicKeyCredentialUpdateForRelyingParty(
      const std::optional<std::string>& relyingParty, const std::optional<Data>& userHandle,
      const std::optional<std::string>& newName) override {
    called = "name report";
    texts = {relyingParty, newName};
    data = {userHandle};
  }
  void reportUnknownPublicKeyCredentialForRelyingParty(
      const std::optional<std::string>& relyingParty,
      const std::optional<Data>& credentialID) override {
    called = "unknown report";
    texts = {relyingParty};
    data = {credentialID};
  }
  void reportAllAcceptedPublicKeyCredentialsForRelyingParty(
      const std::optional<std::string>& relyingParty, const std::optional<Data>& userHandle,
      const std::optional<PropertyListValue::Array>& acceptedCredentialIDs) override {
    called = "accepted report";
    texts = {relyingParty};
    data = {userHandle};
    accepted = acceptedCredentialIDs;
  }

  [[nodiscard]] const PasskeyCredentialRequest* passkeyRequest() const {
    return dynamic_cast<const PasskeyCredentialRequest*>(request.get());
  }

  std::string called;
  std::vector<std::string> services;
  RequestParameters parameters;
  AnyRequest request;
  std::vector<std::optional<std::string>> texts;
  std::vector<std::optional<Data>> data;
  std::optional<PropertyListValue::Array> accepted;
};

}  // namespace korvan::lab
