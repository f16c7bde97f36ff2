#include "lab/host/Vault.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <regex>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include "lab/host/NamesIn_testing.h"
#include "lab/support/TemporaryDirectory.h"

namespace korvan::lab::host {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::ThrowsMessage;

class VaultInFile : public testing::Test {
 protected:
  void write(const std::string& text) const { std::ofstream(file_) << text; }

  [[nodiscard]] std::string text() const {
    std::ifstream stream(file_);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  /// The text of a vault after `change` on its JSON.
  template <typename Change>
  std::string changed(Change change) {
    const Vault vault(file_);
    auto document = nlohmann::json::parse(text());
    change(document);
    return document.dump();
  }

  void expectMalformed(const std::string& contents, const std::string& complaint) {
    write(contents);
    EXPECT_THAT(
        [this] { const Vault vault(file_); },
        ThrowsMessage<std::runtime_error>(AllOf(HasSubstr(file_.string()), HasSubstr(complaint))));
    EXPECT_EQ(text(), contents) << "the file was changed";
  }

  TemporaryDirectory directory_;
  std::filesystem::path file_ = directory_.path() / "vault.json";
};

void expectSame(const Passkey& left, const Passkey& right) {
  EXPECT_EQ(left.recordIdentifier, right.recordIdentifier);
  EXPECT_EQ(left.relyingPartyIdentifier, right.relyingPartyIdentifier);
  EXPECT_EQ(left.userName, right.userName);
  EXPECT_EQ(left.userHandle, right.userHandle);
  EXPECT_EQ(left.credentialID, right.credentialID);
  EXPECT_EQ(left.key.pkcs8(), right.key.pkcs8());
  EXPECT_EQ(left.signCount, right.signCount);
}

TEST(Vault, StartsWithOnePasskeyToSignInWith) {
  const Vault vault;
  ASSERT_EQ(vault.passkeys().size(), 1U);
  const Passkey& passkey = vault.passkeys().front();
  EXPECT_EQ(passkey.relyingPartyIdentifier, "example.com");
  EXPECT_EQ(passkey.userName, "alice");
  EXPECT_EQ(passkey.signCount, 0U);
  EXPECT_TRUE(std::regex_match(passkey.recordIdentifier,
                               std::regex("[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}")));
}

TEST(Vault, MakesEachNewOneAnotherPasskey) {
  const Vault one;
  const Vault other;
  EXPECT_NE(one.passkeys().front().credentialID, other.passkeys().front().credentialID);
  EXPECT_NE(one.passkeys().front().userHandle, other.passkeys().front().userHandle);
  EXPECT_NE(one.passkeys().front().key.pkcs8(), other.passkeys().front().key.pkcs8());
}

TEST_F(VaultInFile, ComesBackAsItWasSaved) {
  Vault vault(file_);
  std::vector<Passkey> passkeys = vault.passkeys();
  passkeys.push_back(passkeys.front());
  passkeys.back().userName = "zoë \"the\" <first>";
  passkeys.back().signCount = 4'294'967'295;
  vault.replacePasskeys(passkeys);

  const Vault again(file_);
  ASSERT_EQ(again.passkeys().size(), 2U);
  expectSame(again.passkeys()[0], passkeys[0]);
  expectSame(again.passkeys()[1], passkeys[1]);
}

TEST_F(VaultInFile, IsForItsOwnerOnlyHoweverItWasBefore) {
  Vault vault(file_);
  ::chmod(file_.c_str(), 0644);
  vault.replacePasskeys({});
  struct stat status{};
  ASSERT_EQ(::stat(file_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(VaultInFile, LeavesNothingBesideTheFile) {
  Vault vault(file_);
  vault.replacePasskeys({});
  EXPECT_THAT(namesIn(directory_.path()), ElementsAre("vault.json"));
}

TEST_F(VaultInFile, IsReplacedRatherThanWrittenOver) {
  Vault vault(file_);
  std::ifstream before(file_);
  const std::string old = text();
  vault.replacePasskeys({});
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(before), {}), old);
}

TEST_F(VaultInFile, IsFoundBehindALinkThatStays) {
  const Vault linked(file_);
  const std::filesystem::path link = directory_.path() / "link";
  std::filesystem::create_symlink(file_, link);
  Vault vault(link);
  vault.replacePasskeys({});
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_TRUE(Vault(file_).passkeys().empty());
}

TEST_F(VaultInFile, StaysAsItWasWhenItCannotBeSaved) {
  Vault vault(file_);
  std::filesystem::remove(file_);
  std::filesystem::create_directory(file_);
  EXPECT_THROW(vault.replacePasskeys({}), std::runtime_error);
  EXPECT_EQ(vault.passkeys().size(), 1U);
  EXPECT_THAT(namesIn(directory_.path()), ElementsAre("vault.json"));
}

TEST_F(VaultInFile, IsRefusedWhenItIsNotJson) {
  for (const char* contents : {"", "{", "[1,", "\xFF"}) {
    expectMalformed(contents, "parse error");
  }
}

TEST_F(VaultInFile, IsRefusedWhenItsShapeIsAnother) {
  expectMalformed("[]", "array");
  expectMalformed("{}", "key 'version' not found");
  expectMalformed(R"({"version":2,"passkeys":[]})", "version is not 1");
  expectMalformed(R"({"version":1,"passkeys":{}})", "passkeys is not an array");
  expectMalformed(R"({"version":1,"passkeys":[7]})", "passkeys[0]");
}

TEST_F(VaultInFile, IsRefusedWithTheNameOfTheWrongValue) {
  for (const char* name : {"recordIdentifier", "relyingPartyIdentifier", "userName", "userHandle",
                           "credentialID", "privateKey", "signCount"}) {
    expectMalformed(changed([name](auto& vault) { vault["passkeys"][0].erase(name); }),
                    std::string(name) + " is missing");
    std::filesystem::remove(file_);
    expectMalformed(changed([name](auto& vault) { vault["passkeys"][0][name] = false; }), name);
    std::filesystem::remove(file_);
  }
}

TEST_F(VaultInFile, IsRefusedWhenAKeyOrACountIsNone) {
  const std::string wrongCurve =
      changed([](auto& vault) { vault["passkeys"][0]["privateKey"] = "AAAA"; });
  expectMalformed(wrongCurve, "P-256 private key");
  std::filesystem::remove(file_);
  for (const auto& count : {nlohmann::json(-1), nlohmann::json(1.5), nlohmann::json(4294967296)}) {
    expectMalformed(changed([&](auto& vault) { vault["passkeys"][0]["signCount"] = count; }),
                    "signCount is not an integer from 0 to 4294967295");
    std::filesystem::remove(file_);
  }
}

TEST_F(VaultInFile, IsRefusedWhenItCannotBeMade) {
  EXPECT_THAT([this] { const Vault vault(directory_.path() / "missing" / "vault.json"); },
              ThrowsMessage<std::runtime_error>(HasSubstr("missing/vault.json")));
}

TEST_F(VaultInFile, IsRefusedWhenItIsADirectory) {
  EXPECT_THAT([this] { const Vault vault(directory_.path()); },
              ThrowsMessage<std::runtime_error>(HasSubstr(directory_.path().string())));
}

}  // namespace
}  // namespace korvan::lab::host
