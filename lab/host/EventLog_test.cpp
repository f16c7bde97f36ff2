#include "lab/host/EventLog.h"

#include <sstream>

#include <gtest/gtest.h>

#include "lab/host/Vault.h"
#include "lab/support/Base64Url.h"

namespace korvan::lab::host {
namespace {

TEST(EventLog, TellsOfTheSocketAndThePasskeysWithoutTheirSecrets) {
  const Vault vault;
  std::ostringstream stream;
  EventLog(stream).ready("/tmp/acp.sock", vault.passkeys());

  const Passkey& passkey = vault.passkeys().front();
  const auto expected =
      nlohmann::json{{"event", "ready"},
                     {"socket", "/tmp/acp.sock"},
                     {"passkeys",
                      {{{"recordIdentifier", passkey.recordIdentifier},
                        {"relyingPartyIdentifier", "example.com"},
                        {"userName", "alice"},
                        {"userHandle", base64Url(passkey.userHandle.bytes())},
                        {"credentialID", base64Url(passkey.credentialID.bytes())},
                        {"publicKey", base64Url(passkey.key.subjectPublicKeyInfo().bytes())},
                        {"signCount", 0}}}}};
  EXPECT_EQ(nlohmann::json::parse(stream.str()), expected);
}

TEST(EventLog, TellsOfAnUnlockedVault) {
  std::ostringstream stream;
  EventLog(stream).unlocked();
  EXPECT_EQ(stream.str(), "{\"event\":\"unlocked\"}\n");
}

TEST(EventLog, TellsHowAConnectionEnded) {
  std::ostringstream stream;
  EventLog(stream).connection(
      {.bytesReceived = 99, .type = "assertion", .ok = false, .errorCode = "vaultLocked"});
  EXPECT_EQ(stream.str(),
            "{\"event\":\"connection\",\"bytesReceived\":99,\"type\":\"assertion\",\"ok\":false,"
            "\"errorCode\":\"vaultLocked\"}\n");
}

TEST(EventLog, TellsNullOfWhatAConnectionNeverReached) {
  std::ostringstream stream;
  EventLog(stream).connection({});
  EXPECT_EQ(stream.str(),
            "{\"event\":\"connection\",\"bytesReceived\":0,\"type\":null,\"ok\":null,"
            "\"errorCode\":null}\n");
}

TEST(EventLog, KeepsALineWhateverTheClientSent) {
  std::ostringstream stream;
  EventLog(stream).connection(
      {.bytesReceived = 1, .type = "a\n\xFF", .ok = false, .errorCode = "failed"});
  EXPECT_EQ(nlohmann::json::parse(stream.str())["type"], "a\n\uFFFD");
  EXPECT_EQ(stream.str().find('\n'), stream.str().size() - 1);
}

}  // namespace
}  // namespace korvan::lab::host
