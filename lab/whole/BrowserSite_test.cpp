// The lab's own web site in a real browser, which makes each of its requests by itself.

#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/processes/Program_testing.h"
#include "lab/support/ExitStatus.h"
#include "lab/support/TemporaryDirectory.h"

namespace korvan::lab {
namespace {

using testing::HasSubstr;

TEST(BrowserSite, HasAllItsRequestsAnsweredAsTheyShouldBe) {
  const auto result = runLab({"browser", "--headless"});
  EXPECT_EQ(result.status, Well) << result.output << result.errors;
  for (const std::string_view entryPoint :
       {"prepareInterfaceForPasskeyRegistration: → credential",
        "performPasskeyRegistrationWithoutUserInteractionIfPossible: → credential",
        "provideCredentialWithoutUserInteractionForRequest: → credential",
        "then prepareInterfaceToProvideCredentialForRequest: → credential",
        "prepareCredentialListForServiceIdentifiers:requestParameters: → credential",
        "reportPublicKeyCredentialUpdateForRelyingParty:userHandle:newName: → returned",
        "reportUnknownPublicKeyCredentialForRelyingParty:credentialID: → returned",
        "reportAllAcceptedPublicKeyCredentialsForRelyingParty:userHandle:acceptedCredentialIDs"}) {
    EXPECT_THAT(result.output, HasSubstr(entryPoint));
  }
  EXPECT_THAT(result.output, HasSubstr("✓ The page has run by itself\n"));
}

TEST(BrowserSite, SaysSoWhenNoHostAnswers) {
  const TemporaryDirectory container;
  const auto result = runLab(
      {"browser", "--headless", "--container", container.path(), "--host-application", "none"});
  EXPECT_EQ(result.status, NotVerified) << result.output << result.errors;
  EXPECT_THAT(result.output,
              HasSubstr("prepareInterfaceForPasskeyRegistration: → NotAllowedError"));
  EXPECT_THAT(result.output, HasSubstr("✗ The page has run by itself\n"));
}

}  // namespace
}  // namespace korvan::lab
