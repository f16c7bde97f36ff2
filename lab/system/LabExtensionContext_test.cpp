#include "lab/system/LabExtensionContext.h"

#include <string>

#include <gtest/gtest.h>

namespace korvan::lab {
namespace {

TEST(LabExtensionContext, IsOpenUntilTheRequestEnds) {
  const LabExtensionContext context;
  EXPECT_FALSE(context.end().has_value());
}

TEST(LabExtensionContext, KeepsHowTheRequestEnded) {
  LabExtensionContext configured;
  configured.completeExtensionConfigurationRequest();
  EXPECT_TRUE(std::holds_alternative<CompletedConfiguration>(configured.end()->outcome));

  LabExtensionContext asserted;
  PasskeyAssertionCredential assertion;
  assertion.relyingParty = "example.com";
  asserted.completeAssertionRequest(assertion);
  EXPECT_EQ(std::get<CompletedAssertion>(asserted.end()->outcome).credential.relyingParty,
            "example.com");

  LabExtensionContext registered;
  PasskeyRegistrationCredential registration;
  registration.relyingParty = "example.com";
  registered.completeRegistrationRequest(registration);
  EXPECT_EQ(std::get<CompletedRegistration>(registered.end()->outcome).credential.relyingParty,
            "example.com");

  LabExtensionContext canceled;
  canceled.cancelRequest({.domain = ErrorDomain::extension, .code = 1, .userInfo = {}});
  EXPECT_EQ(std::get<Canceled>(canceled.end()->outcome).error.code, 1);
}

TEST(LabExtensionContextDeathTest, StopsTheProgramThatEndsARequestTwice) {
  LabExtensionContext context;
  context.completeExtensionConfigurationRequest();
  EXPECT_DEATH(context.cancelRequest({}), "completed or canceled a second time");
}

}  // namespace
}  // namespace korvan::lab
