#include "bench/SignInBench.h"

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

#include "provider/CredentialProviderViewController.h"

namespace korvan::bench {
namespace {

Data bytesOf(std::size_t size, std::uint8_t first) {
  std::vector<std::uint8_t> data(size);
  std::uint8_t next = first;
  for (std::uint8_t& byte : data) {
    byte = next;
    next = static_cast<std::uint8_t>(next * 7 + 3);
  }
  return data;
}

std::shared_ptr<PasskeyCredentialRequest> makeRequest() {
  auto request = std::make_shared<PasskeyCredentialRequest>();
  request->credentialIdentity =
      PasskeyCredentialIdentity{.recordIdentifier = "8F14E45F-CEEA-467F-A2D3-5C1B2E9D7A60",
                                .relyingPartyIdentifier = "example.com",
                                .userName = "alice",
                                .userHandle = bytesOf(16, 1),
                                .credentialID = bytesOf(32, 2)};
  request->clientDataHash = bytesOf(32, 3);
  request->userVerificationPreference = "preferred";
  return request;
}

}  // namespace

void SignInBench::Context::completeExtensionConfigurationRequest() { std::abort(); }
void SignInBench::Context::completeAssertionRequest(const PasskeyAssertionCredential& credential) {
  if (!credential.signature || credential.relyingParty != "example.com") {
    std::abort();
  }
  ++completed;
}
void SignInBench::Context::completeRegistrationRequest(
    const PasskeyRegistrationCredential& /*credential*/) {
  std::abort();
}
void SignInBench::Context::cancelRequest(const Error& /*error*/) { std::abort(); }

SignInBench::SignInBench(const std::string& directory)
    : request_(makeRequest()),
      appGroupContainers_(directory),
      localizedStrings_(std::nullopt),
      operatingSystem_({.major = 15}),
      queues_(g_main_context_default()),
      workspace_(NoHost()),
      services_(std::make_shared<const Services>(Services{.appGroupContainers = appGroupContainers_,
                                                          .clock = clock_,
                                                          .codeSigning = codeSigning_,
                                                          .extensionContext = extensionContext_,
                                                          .localSockets = localSockets_,
                                                          .localizedStrings = localizedStrings_,
                                                          .operatingSystem = operatingSystem_,
                                                          .propertyLists = propertyLists_,
                                                          .queues = queues_,
                                                          .views = views_,
                                                          .workspace = workspace_})) {}

void SignInBench::signIn() {
  const std::size_t before = extensionContext_.completed;
  std::make_shared<CredentialProviderViewController>(services_)
      ->provideCredentialWithoutUserInteractionForRequest(request_);
  while (extensionContext_.completed == before) {
    g_main_context_iteration(nullptr, TRUE);
  }
}

Data SignInBench::encodedRequest() const {
  const auto controller = std::make_shared<CredentialProviderViewController>(services_);
  controller->setCredentialRequest(request_);
  const bool allowsUserInteraction = false;
  const bool interactive = false;
  return *propertyLists_.encodeBinary(
      controller->assertionRequestForRecord({}, allowsUserInteraction, interactive));
}

Data SignInBench::encodedAnswer() {
  return *LinuxPropertyListSerialization().encodeBinary({{"ok", true},
                                                         {"userHandle", bytesOf(16, 1)},
                                                         {"relyingPartyIdentifier", "example.com"},
                                                         {"signature", bytesOf(71, 4)},
                                                         {"clientDataHash", bytesOf(32, 3)},
                                                         {"authenticatorData", bytesOf(37, 5)},
                                                         {"credentialID", bytesOf(32, 2)}});
}

}  // namespace korvan::bench
