#include "lab/site/Registration.h"

#include <memory>

#include <gtest/gtest.h>

#include "lab/support/Bytes_testing.h"
#include "lab/system/RecordingController_testing.h"

namespace korvan::lab {
namespace {

TEST(RegistrationCall, AsksForAPasskeyWithTheUserUnlessItIsConditional) {
  const RelyingParty site("example.com", RelyingParty::UserVerification::required,
                          RelyingParty::Ceremony::registration);
  for (const bool conditional : {false, true}) {
    RecordingController controller;
    registrationCall(site, {.userName = "bob",
                            .userHandle = bytes({1}),
                            .algorithms = {-7, -257},
                            .excludedCredentials = {bytes({2}), bytes({3})},
                            .conditional = conditional})
        .invoke(controller);
    EXPECT_EQ(controller.called, conditional ? "silent registration" : "interactive registration");
    const PasskeyCredentialRequest* const request = controller.passkeyRequest();
    ASSERT_NE(request, nullptr);
    EXPECT_EQ(request->credentialIdentity->relyingPartyIdentifier, "example.com");
    EXPECT_EQ(request->credentialIdentity->userName, "bob");
    EXPECT_EQ(request->credentialIdentity->userHandle, bytes({1}));
    EXPECT_EQ(request->clientDataHash, site.clientDataHash());
    EXPECT_EQ(request->userVerificationPreference, "required");
    EXPECT_EQ(request->supportedAlgorithms, (PropertyListValue::Array{-7, -257}));
    EXPECT_EQ(request->excludedCredentials()->at(1).credentialID, bytes({3}));
  }
}

}  // namespace
}  // namespace korvan::lab
