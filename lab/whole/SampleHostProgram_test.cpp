#include <csignal>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>

#include "lab/host/AssertionRequest_testing.h"
#include "lab/host/Client_testing.h"
#include "lab/host/NamesIn_testing.h"
#include "lab/processes/Program_testing.h"
#include "lab/site/PublicKey.h"
#include "lab/support/PasskeyRecord.h"
#include "lab/support/TemporaryDirectory.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace korvan::lab::host {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using Json = nlohmann::json;

/// The host's program.
class Host : public Program {
 public:
  explicit Host(std::vector<std::string> arguments) : Program(command(std::move(arguments))) {}

  Json nextEvent() { return Json::parse(readLine()); }

 private:
  static std::vector<std::string> command(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), KORVAN_SAMPLE_HOST);
    return arguments;
  }
};

class SampleHost : public testing::Test {
 protected:
  [[nodiscard]] std::string container() const { return directory_.path(); }
  [[nodiscard]] std::string socket() const { return directory_.path() / "acp.sock"; }

  PropertyListDictionary exchange(const PropertyListDictionary& request) {
    Client client(socket());
    client.sendFrame(serialization_.encodeBinary(request).value());
    const auto frame = client.receiveFrame();
    return frame ? *serialization_.decode(*frame).value().dictionary() : PropertyListDictionary();
  }

  void expectUsageError(const std::vector<std::string>& arguments, const std::string& complaint) {
    const auto result = Host(arguments).finish();
    EXPECT_THAT(result.errors, HasSubstr(complaint));
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.status, 2);
  }

  TemporaryDirectory directory_;

 private:
  LinuxPropertyListSerialization serialization_;
};

TEST_F(SampleHost, IsReadyToSignInWithThePasskeyThatItNames) {
  Host program({"--container", container()});
  const Json ready = program.nextEvent();
  EXPECT_EQ(ready["event"], "ready");
  EXPECT_EQ(ready["socket"], socket());
  const Json& passkey = ready["passkeys"][0];

  const PropertyListDictionary response = exchange(assertionRequest({}));
  const Data statement = *valueForKey(response, "authenticatorData")->data();
  std::vector<std::uint8_t> message(statement.bytes().begin(), statement.bytes().end());
  message.insert(message.end(), 32, 'h');
  EXPECT_TRUE(PublicKey::fromDer(bytesFrom(passkey, "publicKey").bytes())
                  .verifies(message, valueForKey(response, "signature")->data()->bytes()));

  const Json event = program.nextEvent();
  EXPECT_EQ(event["event"], "connection");
  EXPECT_EQ(event["type"], "assertion");
  EXPECT_EQ(event["ok"], true);
  EXPECT_TRUE(event["errorCode"].is_null());
}

TEST_F(SampleHost, EndsWellAndRemovesItsSocketWhenToldTo) {
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    Host program({"--container", container()});
    program.nextEvent();
    program.signal(signal);
    const auto result = program.finish();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_THAT(namesIn(directory_.path()), IsEmpty());
  }
}

TEST_F(SampleHost, EndsWellWithAClientStalled) {
  Host program({"--container", container()});
  program.nextEvent();
  const Client stalled(socket());
  exchange(assertionRequest({}));
  program.signal(SIGTERM);
  EXPECT_EQ(program.finish().status, 0);
  EXPECT_THAT(namesIn(directory_.path()), IsEmpty());
}

TEST_F(SampleHost, TakesThePlaceOfOneThatWasKilled) {
  Host killed({"--container", container()});
  killed.nextEvent();
  killed.signal(SIGKILL);
  EXPECT_EQ(killed.finish().status, 128 + SIGKILL);
  ASSERT_TRUE(std::filesystem::exists(socket()));
  Host program({"--container", container()});
  EXPECT_EQ(program.nextEvent()["event"], "ready");
}

TEST_F(SampleHost, DoesNotStartBesideAnother) {
  Host first({"--container", container()});
  first.nextEvent();
  const auto second = Host({"--container", container()}).finish();
  EXPECT_EQ(second.errors, "korvan-sample-host: Another host is listening on " + socket() + ".\n");
  EXPECT_EQ(second.status, 1);
}

TEST_F(SampleHost, KeepsItsPasskeysInTheVaultFile) {
  const std::string vault = directory_.path() / "vault.json";
  Json before;
  {
    Host program({"--container", container(), "--vault", vault});
    before = program.nextEvent()["passkeys"];
    exchange(assertionRequest({}));
  }
  Host program({"--container", container(), "--vault", vault});
  before[0]["signCount"] = 1;
  EXPECT_EQ(program.nextEvent()["passkeys"], before);
}

TEST_F(SampleHost, DoesNotStartOnAMalformedVault) {
  const std::string vault = directory_.path() / "vault.json";
  std::ofstream(vault) << "{}";
  const auto result = Host({"--container", container(), "--vault", vault}).finish();
  EXPECT_THAT(result.errors,
              StartsWith("korvan-sample-host: The vault " + vault + " is malformed: "));
  EXPECT_EQ(result.status, 1);
  EXPECT_FALSE(std::filesystem::exists(socket()));
}

TEST_F(SampleHost, TellsWhenARequestUnlocksTheVault) {
  Host program({"--container", container(), "--locked"});
  program.nextEvent();
  exchange(assertionRequest({}));
  EXPECT_EQ(program.nextEvent()["errorCode"], "vaultLocked");
  exchange(assertionRequest({{"allowsUserInteraction", true}}));
  EXPECT_EQ(program.nextEvent()["event"], "unlocked");
  EXPECT_EQ(program.nextEvent()["ok"], true);
}

TEST_F(SampleHost, ServesOnWhenNobodyReadsItsEvents) {
  Host program({"--container", container()});
  program.nextEvent();
  program.closeOutput();
  EXPECT_FALSE(exchange(assertionRequest({})).empty());
  EXPECT_FALSE(exchange(assertionRequest({})).empty());
}

TEST_F(SampleHost, EndsThoughItsEventsAreLeftUnread) {
  Host program({"--container", container()});
  program.nextEvent();
  // The events repeat the type, and are soon more than their pipe holds.
  constexpr int Requests = 20;
  for (int request = 0; request < Requests; ++request) {
    exchange({{"type", std::string(4096, 'x')}});
  }
  program.signal(SIGTERM);
  // Nothing is read until the program has ended.
  siginfo_t end{};
  ::waitid(P_PID, static_cast<id_t>(program.processIdentifier()), &end, WEXITED | WNOWAIT);
  EXPECT_THAT(namesIn(directory_.path()), IsEmpty());
  const auto result = program.finish();
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.errors, "korvan-sample-host: cannot write to standard output\n");
}

TEST_F(SampleHost, TakesTheUrlThatItIsOpenedWith) {
  Host program({"--container", container(), "korvan:///launch?source=credential-provider"});
  EXPECT_EQ(program.nextEvent()["event"], "ready");
}

TEST_F(SampleHost, RefusesOtherArguments) {
  expectUsageError({"--container", container(), "https://example.com"},
                   "\"https://example.com\" is not a URL that opens Korvan");
  expectUsageError({"--container", container(), "korvan:///launch", "more"}, "more");
  expectUsageError({"--lock"}, "--lock");
  expectUsageError({"--container"}, "--container");
  expectUsageError({"--container", ""}, "--container");
  expectUsageError({"--container", container(), "--vault", ""}, "--vault");
}

}  // namespace
}  // namespace korvan::lab::host
