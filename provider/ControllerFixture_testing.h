#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

#include "platform/CredentialRequest.h"
#include "platform/fake/FakePlatform.h"
#include "provider/CredentialProviderViewController.h"

namespace korvan {

/// A controller on a fake platform, with a host that answers as the test says.
class ControllerFixture : public testing::Test {
 protected:
  // Waiting work and the platform own each other.
  void TearDown() override { platform->queues.discard(); }

  /// A request of the platform that is not for a passkey.
  class PasswordRequest : public CredentialRequest {};

  static Data bytes(std::string_view text) {
    return Data::copyOf({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
  }

  static std::shared_ptr<PasskeyCredentialRequest> passkeyRequest() {
    auto request = std::make_shared<PasskeyCredentialRequest>();
    request->credentialIdentity = PasskeyCredentialIdentity{.recordIdentifier = "record 7",
                                                            .relyingPartyIdentifier = "example.com",
                                                            .userName = "alice",
                                                            .userHandle = bytes("handle"),
                                                            .credentialID = bytes("credential")};
    request->clientDataHash = bytes("hash of the request");
    request->userVerificationPreference = "required";
    request->supportedAlgorithms = PropertyListValue::Array{-7, -257};
    return request;
  }

  static std::shared_ptr<PasskeyCredentialRequestParameters> requestParameters() {
    auto parameters = std::make_shared<PasskeyCredentialRequestParameters>();
    parameters->relyingPartyIdentifier = "list.example";
    parameters->clientDataHash = bytes("hash of the list");
    parameters->userVerificationPreference = "discouraged";
    parameters->allowedCredentials = PropertyListValue::Array{bytes("A"), bytes("B")};
    return parameters;
  }

  void hostAnswers(ProviderMessage response) {
    platform->localSockets.peer = platform->answering(
        [response = std::move(response)](const ProviderMessage&) { return response; });
  }

  void runAll() { platform->queues.runAll(); }

  /// The one request that the host was sent.
  const ProviderMessage& sentRequest() {
    EXPECT_EQ(platform->requests.size(), 1U);
    return platform->requests.front();
  }

  void expectNothingSent() {
    EXPECT_TRUE(platform->localSockets.connections.empty());
    EXPECT_EQ(platform->queues.waitingInBackground(), 0U);
  }

  void expectEnding(const FakeExtensionContext::Ending& expected) {
    ASSERT_EQ(platform->extensionContext.endings.size(), 1U);
    EXPECT_TRUE(platform->extensionContext.endings.front() == expected);
    EXPECT_TRUE(platform->extensionContext.allOnMain);
  }

  static Error cancellation(std::int64_t code, std::optional<std::string> description) {
    return {.domain = ErrorDomain::extension,
            .code = code,
            .userInfo = ErrorUserInfo{std::move(description)}};
  }

  static Error rejected(std::int64_t code) {
    return {.domain = ErrorDomain::extension, .code = code, .userInfo = std::nullopt};
  }

  std::shared_ptr<FakePlatform> platform = std::make_shared<FakePlatform>();
  std::shared_ptr<CredentialProviderViewController> controller =
      std::make_shared<CredentialProviderViewController>(platform->services());
};

}  // namespace korvan
