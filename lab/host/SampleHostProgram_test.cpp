#include <array>
#include <csignal>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "lab/host/Client_testing.h"
#include "lab/host/NamesIn_testing.h"
#include "lab/host/RelyingParty_testing.h"
#include "lab/support/Base64Url.h"
#include "lab/support/Descriptor.h"
#include "lab/support/TemporaryDirectory.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace korvan::lab::host {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using Json = nlohmann::json;
using Array = PropertyListValue::Array;

/// The program as a process, with its output at hand.
class Program {
 public:
  explicit Program(std::vector<std::string> arguments) {
    std::array<int, 2> out{};
    std::array<int, 2> err{};
    EXPECT_EQ(::pipe2(out.data(), O_CLOEXEC) + ::pipe2(err.data(), O_CLOEXEC), 0);
    const Descriptor outEnd(out[1]);
    const Descriptor errEnd(err[1]);
    out_.reset(::fdopen(out[0], "r"));
    err_.reset(::fdopen(err[0], "r"));
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, outEnd.get(), STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, errEnd.get(), STDERR_FILENO);
    arguments.insert(arguments.begin(), KORVAN_SAMPLE_HOST);
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) {
      argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    // Whoever runs the tests may have signals ignored, which the program would inherit.
    sigset_t all;
    ::sigfillset(&all);
    posix_spawnattr_t attributes;
    ::posix_spawnattr_init(&attributes);
    ::posix_spawnattr_setsigdefault(&attributes, &all);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    EXPECT_EQ(
        ::posix_spawn(&process_, KORVAN_SAMPLE_HOST, &actions, &attributes, argv.data(), environ),
        0);
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&actions);
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;
  Program(Program&&) = delete;
  Program& operator=(Program&&) = delete;
  ~Program() {
    if (process_ > 0) {
      signal(SIGKILL);
      wait();
    }
  }

  Json nextEvent() { return Json::parse(lineOf(out_.get())); }
  std::string output() { return allOf(out_.get()); }
  std::string errors() { return allOf(err_.get()); }
  void signal(int number) const { ::kill(process_, number); }
  void stopReadingOutput() { out_.reset(); }

  /// The exit status, or none when a signal ended it.
  std::optional<int> wait() {
    int status = 0;
    ::waitpid(process_, &status, 0);
    process_ = 0;
    return WIFEXITED(status) ? std::optional(WEXITSTATUS(status)) : std::nullopt;
  }

 private:
  struct Close {
    void operator()(FILE* file) const { std::fclose(file); }
  };
  using File = std::unique_ptr<FILE, Close>;

  static std::string lineOf(FILE* file) {
    std::string line;
    for (int character = std::fgetc(file); character != EOF && character != '\n';
         character = std::fgetc(file)) {
      line += static_cast<char>(character);
    }
    return line;
  }

  static std::string allOf(FILE* file) {
    std::string text;
    for (int character = std::fgetc(file); character != EOF; character = std::fgetc(file)) {
      text += static_cast<char>(character);
    }
    return text;
  }

  pid_t process_ = 0;
  File out_;
  File err_;
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

  [[nodiscard]] static PropertyListDictionary assertion(bool allowsUserInteraction) {
    return {{.key = "type"_text,
             .value = allowsUserInteraction ? "interactiveAssertion"_text : "assertion"_text},
            {.key = "recordIdentifier"_text, .value = ""_text},
            {.key = "relyingPartyIdentifier"_text, .value = "example.com"_text},
            {.key = "credentialID"_text, .value = Data()},
            {.key = "allowedCredentials"_text, .value = Array{}},
            {.key = "clientDataHash"_text, .value = testBytes(32, 'h')},
            {.key = "userVerificationPreference"_text, .value = "preferred"_text},
            {.key = "allowsUserInteraction"_text, .value = allowsUserInteraction}};
  }

  void expectUsageError(const std::vector<std::string>& arguments, const std::string& complaint) {
    Program program(arguments);
    EXPECT_THAT(program.errors(), HasSubstr(complaint));
    EXPECT_THAT(program.output(), IsEmpty());
    EXPECT_EQ(program.wait(), 2);
  }

  TemporaryDirectory directory_;

 private:
  LinuxPropertyListSerialization serialization_;
};

TEST_F(SampleHost, IsReadyToSignInWithThePasskeyThatItNames) {
  Program program({"--container", container()});
  const Json ready = program.nextEvent();
  EXPECT_EQ(ready["event"], "ready");
  EXPECT_EQ(ready["socket"], socket());
  const Json& passkey = ready["passkeys"][0];

  const PropertyListDictionary response = exchange(assertion(false));
  const Data statement = *response.find("authenticatorData")->data();
  std::vector<std::uint8_t> message(statement.bytes().begin(), statement.bytes().end());
  message.insert(message.end(), 32, 'h');
  EXPECT_TRUE(verifies(fromBase64Url(passkey["publicKey"].get<std::string>()).value_or(Data()),
                       *response.find("signature")->data(), Data::copyOf(message)));

  const Json event = program.nextEvent();
  EXPECT_EQ(event["event"], "connection");
  EXPECT_EQ(event["type"], "assertion");
  EXPECT_EQ(event["ok"], true);
  EXPECT_TRUE(event["errorCode"].is_null());
}

TEST_F(SampleHost, EndsWellAndRemovesItsSocketWhenToldTo) {
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    Program program({"--container", container()});
    program.nextEvent();
    program.signal(signal);
    EXPECT_EQ(program.wait(), 0);
    EXPECT_THAT(program.errors(), IsEmpty());
    EXPECT_THAT(namesIn(directory_.path()), IsEmpty());
  }
}

TEST_F(SampleHost, EndsWellWithAClientStalled) {
  Program program({"--container", container()});
  program.nextEvent();
  const Client stalled(socket());
  exchange(assertion(false));
  program.signal(SIGTERM);
  EXPECT_EQ(program.wait(), 0);
  EXPECT_THAT(namesIn(directory_.path()), IsEmpty());
}

TEST_F(SampleHost, TakesThePlaceOfOneThatWasKilled) {
  Program killed({"--container", container()});
  killed.nextEvent();
  killed.signal(SIGKILL);
  killed.wait();
  ASSERT_TRUE(std::filesystem::exists(socket()));
  Program program({"--container", container()});
  EXPECT_EQ(program.nextEvent()["event"], "ready");
}

TEST_F(SampleHost, DoesNotStartBesideAnother) {
  Program first({"--container", container()});
  first.nextEvent();
  Program second({"--container", container()});
  EXPECT_EQ(second.errors(),
            "korvan-sample-host: Another host is listening on " + socket() + ".\n");
  EXPECT_EQ(second.wait(), 1);
}

TEST_F(SampleHost, KeepsItsPasskeysInTheVaultFile) {
  const std::string vault = directory_.path() / "vault.json";
  Json before;
  {
    Program program({"--container", container(), "--vault", vault});
    before = program.nextEvent()["passkeys"];
    exchange(assertion(false));
  }
  Program program({"--container", container(), "--vault", vault});
  before[0]["signCount"] = 1;
  EXPECT_EQ(program.nextEvent()["passkeys"], before);
}

TEST_F(SampleHost, DoesNotStartOnAMalformedVault) {
  const std::string vault = directory_.path() / "vault.json";
  std::ofstream(vault) << "{}";
  Program program({"--container", container(), "--vault", vault});
  EXPECT_THAT(program.errors(),
              StartsWith("korvan-sample-host: The vault " + vault + " is malformed: "));
  EXPECT_EQ(program.wait(), 1);
  EXPECT_FALSE(std::filesystem::exists(socket()));
}

TEST_F(SampleHost, TellsWhenARequestUnlocksTheVault) {
  Program program({"--container", container(), "--locked"});
  program.nextEvent();
  exchange(assertion(false));
  EXPECT_EQ(program.nextEvent()["errorCode"], "vaultLocked");
  exchange(assertion(true));
  EXPECT_EQ(program.nextEvent()["event"], "unlocked");
  EXPECT_EQ(program.nextEvent()["ok"], true);
}

TEST_F(SampleHost, CancelsForTheUser) {
  Program program({"--container", container(), "--user-cancels"});
  program.nextEvent();
  exchange(assertion(true));
  EXPECT_EQ(program.nextEvent()["errorCode"], "userCanceled");
}

TEST_F(SampleHost, ServesOnWhenNobodyReadsItsEvents) {
  Program program({"--container", container()});
  program.nextEvent();
  program.stopReadingOutput();
  EXPECT_FALSE(exchange(assertion(false)).empty());
  EXPECT_FALSE(exchange(assertion(false)).empty());
}

TEST_F(SampleHost, TakesTheUrlThatItIsOpenedWith) {
  Program program({"--container", container(), "korvan:///launch?source=credential-provider"});
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

TEST_F(SampleHost, ExplainsItselfOnOneScreen) {
  Program program({"--help"});
  const std::string help = program.output();
  EXPECT_EQ(program.wait(), 0);
  EXPECT_THAT(help, HasSubstr(KORVAN_SAMPLE_HOST " --container \"$(mktemp -d)\""));
  EXPECT_LE(std::ranges::count(help, '\n'), 24);
}

}  // namespace
}  // namespace korvan::lab::host
