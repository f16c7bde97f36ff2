#include "lab/site/Registration.h"

#include <memory>

#include <gtest/gtest.h>

#include "lab/support/Bytes_testing.h"

namespace korvan::lab {
namespace {

/// Keeps the request of a registration.
class RegistrationRecorder final : public CredentialProviderViewController {
 public:
  RegistrationRecorder() : CredentialProviderViewController(nullptr) {}

  void prepareInterfaceForPasskeyRegistration(AnyRequest given) override {
    interactive = std::dynamic_pointer_cast<const PasskeyCredentialRequest>(given);
  }
  void performPasskeyRegistrationWithoutUserInteractionIfPossible(
      const PasskeyRequest& given) override {
    silent = given;
  }

  PasskeyRequest interactive;
  PasskeyRequest silent;
};

TEST(RegistrationCall, AsksForAPasskeyWithTheUserUnlessItIsConditional) {
  const RelyingParty site("example.com", RelyingParty::UserVerification::required,
                          RelyingParty::Ceremony::registration);
  for (const bool conditional : {false, true}) {
    RegistrationRecorder controller;
    registrationCall(site, {.userName = "bob",
                            .userHandle = bytes({1}),
                            .algorithms = {-7, -257},
                            .excludedCredentials = {bytes({2}), bytes({3})},
                            .conditional = conditional})
        .invoke(controller);
    EXPECT_EQ(controller.interactive == nullptr, conditional);
    const auto request = conditional ? controller.silent : controller.interactive;
    ASSERT_NE(request, nullptr);
    EXPECT_EQ(request->credentialIdentity->relyingPartyIdentifier, "example.com");
    EXPECT_EQ(request->credentialIdentity->userName, "bob");
    EXPECT_EQ(request->credentialIdentity->userHandle, bytes({1}));
    EXPECT_EQ(request->clientDataHash, site.clientDataHash());
    EXPECT_EQ(request->userVerificationPreference, "required");
    EXPECT_EQ(request->supportedAlgorithms, (std::vector<std::int64_t>{-7, -257}));
    EXPECT_EQ(request->excludedCredentials()->at(1).credentialID, bytes({3}));
  }
}

}  // namespace
}  // namespace korvan::lab
