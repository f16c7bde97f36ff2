#include "lab/browser/KnownIdentities.h"

#include <fstream>
#include <system_error>

#include <gtest/gtest.h>

#include "lab/support/TemporaryDirectory.h"

namespace korvan::lab {
namespace {

KnownIdentity identity(const std::string& relyingParty, const std::string& credentialID) {
  return {.relyingParty = relyingParty,
          .credentialID = credentialID,
          .userHandle = "Ym9i",
          .userName = "bob"};
}

class KnownIdentitiesTest : public testing::Test {
 protected:
  TemporaryDirectory directory_;
  KnownIdentities identities_{directory_.path() / "identities"};
};

TEST_F(KnownIdentitiesTest, AreNoneAtFirst) {
  EXPECT_EQ(identities_.find({.relyingParty = "example.com", .credentialIDs = {"AQ"}}),
            std::nullopt);
}

TEST_F(KnownIdentitiesTest, AreFoundForTheirRelyingPartyAmongTheAllowed) {
  identities_.add(identity("example.com", "AQ"));
  identities_.add(identity("example.net", "Ag"));
  identities_.add(identity("example.com", "Aw"));
  const auto found = [&](const AllowedCredentials& allowed) { return identities_.find(allowed); };
  EXPECT_EQ(found({"example.com", {"AQ"}}), identity("example.com", "AQ"));
  EXPECT_EQ(found({"example.com", {"AQ", "Aw"}}), identity("example.com", "Aw"));
  EXPECT_EQ(found({"example.com", {"Ag"}}), std::nullopt);
  EXPECT_EQ(found({"example.com", {}}), std::nullopt);
}

TEST_F(KnownIdentitiesTest, AreFoundAmongOtherLines) {
  std::ofstream(directory_.path() / "identities")
      << "{\n[]\n{\"relyingParty\":1,\"credentialID\":\"AQ\"}\n";
  identities_.add(identity("example.com", "AQ"));
  EXPECT_EQ(identities_.find({"example.com", {"AQ"}}), identity("example.com", "AQ"));
}

TEST_F(KnownIdentitiesTest, SayThatTheyCannotBeWritten) {
  const KnownIdentities nowhere(directory_.path() / "missing" / "identities");
  EXPECT_THROW(nowhere.add(identity("example.com", "AQ")), std::system_error);
}

}  // namespace
}  // namespace korvan::lab
