// The lab's commands for people.

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/processes/Program_testing.h"
#include "lab/processes/Stage.h"
#include "lab/support/TemporaryDirectory.h"

namespace korvan::lab {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using Arguments = std::vector<std::string>;

class LabCommands : public testing::Test {
 protected:
  nlohmann::json startHost(const Arguments& arguments = {}) {
    return stage_.startHost(KORVAN_SAMPLE_HOST, arguments).nextEvent().at("passkeys").at(0);
  }

  /// A command on the container of the hosts that startHost() starts.
  [[nodiscard]] Program::Result onContainer(Arguments command) const {
    command.insert(command.end(),
                   {"--container", stage_.container().string(), "--host-application", "none"});
    return runLab(std::move(command));
  }

  TemporaryDirectory directory_;
  Stage stage_{directory_.path()};
};

TEST_F(LabCommands, RegisterMakesAPasskeyChecksItAndSignsInWithIt) {
  for (const Arguments& command :
       {Arguments{"register", "--user-name", "carol"}, Arguments{"register", "--conditional"}}) {
    const auto result = runLab(command);
    EXPECT_EQ(result.status, 0) << result.output << result.errors;
    EXPECT_THAT(result.output, HasSubstr("+ a public key on P-256 for ES256"));
    EXPECT_THAT(result.output, HasSubstr("✓ Registered with example.com"));
    EXPECT_THAT(result.output, HasSubstr("+ signed by the registered passkey (ES256)"));
    EXPECT_THAT(result.output, HasSubstr("✓ Signed in to example.com"));
  }
}

TEST_F(LabCommands, RegisterWorksWithAHostThatRuns) {
  startHost();
  const auto result = onContainer({"register", "--relying-party", "example.org"});
  EXPECT_EQ(result.status, 0) << result.output << result.errors;
  EXPECT_THAT(result.output, HasSubstr("✓ Signed in to example.org"));
}

TEST_F(LabCommands, RegisterIsRefusedWhereAPasskeyIsExcluded) {
  const std::string credential = startHost().at("credentialID");
  const auto result = onContainer({"register", "--exclude", "AQ", "--exclude", credential});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("ASExtensionErrorDomain code 102"));
  EXPECT_THAT(result.output, HasSubstr("✗ No verified passkey for example.com"));
  EXPECT_THAT(result.output, Not(HasSubstr("Signing in")));
}

TEST_F(LabCommands, RegisterSavesThePasskeyThatSignInNames) {
  startHost();
  for (const std::string name : {"bob", "carol"}) {
    const auto made = onContainer({"register", "--user-name", name, "--save", stage_.file(name)});
    EXPECT_EQ(made.status, 0) << made.output << made.errors;
    EXPECT_THAT(made.output, HasSubstr("Saved to " + stage_.file(name).string()));
  }
  for (const std::string name : {"bob", "carol"}) {
    for (const Arguments& mode : {Arguments{}, Arguments{"--interactive"}}) {
      Arguments command = {"sign-in", "--passkey", stage_.file(name)};
      command.insert(command.end(), mode.begin(), mode.end());
      const auto result = onContainer(command);
      EXPECT_EQ(result.status, 0) << result.output << result.errors;
      EXPECT_THAT(result.output, HasSubstr("+ with the passkey that the request names"));
      EXPECT_THAT(result.output, HasSubstr("+ of the registered user"));
    }
  }
}

TEST_F(LabCommands, RegisterPrintsWhatSignInAndReportNeed) {
  startHost();
  const auto made = onContainer({"register"});
  const auto start = made.output.find("-----BEGIN PUBLIC KEY-----\n");
  const auto end = made.output.find("-----END PUBLIC KEY-----\n");
  ASSERT_LT(start, end) << made.output;
  std::ofstream(stage_.file("key.pem")) << made.output.substr(start, end + 25 - start);
  const std::string words = "The user handle is ";
  const auto handle = made.output.substr(made.output.find(words) + words.size(), 22);
  const auto report = onContainer({"report", "accepted-credentials", "--user-handle", handle});
  EXPECT_EQ(report.status, 0) << report.errors;
  EXPECT_THAT(report.output, HasSubstr(R"("userHandle":{"data":")" + handle));
  const auto signIn = onContainer({"sign-in", "--public-key", stage_.file("key.pem")});
  EXPECT_THAT(signIn.output, HasSubstr("The request names no passkey"));
}

TEST_F(LabCommands, SignInWithThePasskeyOfAnotherSiteIsRefused) {
  startHost();
  ASSERT_EQ(onContainer({"register", "--save", stage_.file("passkey")}).status, 0);
  const auto result = onContainer(
      {"sign-in", "--passkey", stage_.file("passkey"), "--relying-party", "example.org"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("+ refused with credentialNotFound"));
  EXPECT_THAT(result.output, HasSubstr("✗ No verified sign-in to example.org"));
}

TEST_F(LabCommands, SignInFromTheListTakesAnAllowedPasskey) {
  startHost();
  const std::string file = stage_.file("passkey");
  ASSERT_EQ(onContainer({"register", "--save", file}).status, 0);
  const std::string allowed =
      nlohmann::json::parse(std::ifstream(file)).at("credentialID").get<std::string>();
  const auto result =
      onContainer({"sign-in", "--list", "--allow", "AQ", "--allow", allowed, "--passkey", file});
  EXPECT_EQ(result.status, 0) << result.output << result.errors;
  EXPECT_THAT(result.output, HasSubstr("+ with an allowed passkey"));
  EXPECT_THAT(result.output, HasSubstr("+ with the passkey that is registered"));
  const auto refused = onContainer({"sign-in", "--list", "--allow", "AQ"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.output, HasSubstr("ASExtensionErrorDomain code 101"));
}

TEST_F(LabCommands, RegisterAsksForTheAlgorithms) {
  startHost();
  EXPECT_EQ(onContainer({"register", "--algorithms", "-257,-7"}).status, 0);
  const auto refused = onContainer({"register", "--algorithms", "-257"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.output, HasSubstr("+ refused with failed"));
}

TEST_F(LabCommands, ConfigureShowsTheRequestAndTheOutcome) {
  const auto result = runLab({"configure"});
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_THAT(result.output, HasSubstr(R"(Sent: {"allowsUserInteraction":true,"type":"synchr)"));
  EXPECT_THAT(result.output, HasSubstr("✓ Synchronized"));
}

TEST_F(LabCommands, SayWhatTheyWaitForAndGiveUpInTime) {
  SampleHostProcess& host = stage_.startHost(KORVAN_SAMPLE_HOST, {});
  host.nextEvent();
  ::kill(host.processIdentifier(), SIGSTOP);
  const auto result = onContainer({"sign-in", "--timeout", "2.5"});
  ::kill(host.processIdentifier(), SIGCONT);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.errors, "Waiting for the host to answer\n");
  EXPECT_THAT(result.output, HasSubstr("Timed out: the host did not answer in time."));
  EXPECT_THAT(result.output, HasSubstr("✗ No verified sign-in to example.com"));
}

TEST_F(LabCommands, ShowMessagesAsTheyGoOverTheSocket) {
  startHost();
  const std::string file = stage_.file("passkey");
  const auto made = onContainer(
      {"register", "--save", file, "--show-messages", "--user-verification", "discouraged"});
  EXPECT_THAT(made.output, HasSubstr(R"("userVerificationPreference":"discouraged")"));
  const std::string identifier =
      nlohmann::json::parse(std::ifstream(file)).at("credentialID").get<std::string>();
  const std::string named = R"("credentialID":{"data":")" + identifier + R"("},"record)";
  for (const Arguments& mode : {Arguments{}, {"--interactive"}, {"--list"}}) {
    Arguments command = {"sign-in", "--passkey", file, "--show-messages"};
    command.insert(command.end(), mode.begin(), mode.end());
    const auto result = onContainer(command);
    EXPECT_THAT(result.output, HasSubstr("  Sent: {"));
    EXPECT_THAT(result.output, HasSubstr("  Answered: {"));
    EXPECT_EQ(result.output.contains(named), mode != Arguments{"--list"}) << result.output;
  }
}

TEST_F(LabCommands, TellThatAHostThatWasOpenedEndedAndWhatItWrote) {
  const fs::path script = stage_.file("host");
  std::ofstream(script) << "#!/bin/sh\nprintf 'no \\033[2Kvault\\n' >&2\nexit 2\n";
  fs::permissions(script, fs::perms::owner_all);
  const auto result = runLab({"configure", "--container", stage_.container().string(),
                              "--host-application", script.string(), "--timeout", "1"});
  EXPECT_NE(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("the host did not start and listen in time"));
  EXPECT_THAT(result.output, HasSubstr(script.string() + " ended with status 2.\n"));
  EXPECT_THAT(result.output, HasSubstr("It wrote to standard error:\n      no \\u{1B}[2Kvault\n"));
}

TEST_F(LabCommands, TellThatAHostThatWasOpenedIsNotSigned) {
  const fs::path copy = stage_.file("unsigned-host");
  fs::copy_file(KORVAN_SAMPLE_HOST, copy);
  const auto result =
      runLab({"sign-in", "--interactive", "--container", stage_.container().string(),
              "--host-application", stage_.writeLauncher({}, copy).string()});
  stage_.stopLaunchedHost();
  EXPECT_THAT(result.output, HasSubstr("could not connect to it in time"));
  EXPECT_THAT(result.output,
              HasSubstr("listens, but is not trusted: Validating the Korvan peer code signature"));
}

TEST_F(LabCommands, ConfigureTellsOfTheNoticeWithoutAHost) {
  const auto result = onContainer({"configure"});
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.output, HasSubstr("Nothing was sent."));
  EXPECT_THAT(result.output, HasSubstr("The notice was shown and OK pressed."));
  EXPECT_THAT(result.output, HasSubstr("✗ Not synchronized"));
}

TEST_F(LabCommands, ReportOfEachKindReachesTheHost) {
  for (const auto& [command, type] :
       {std::pair(Arguments{"updated-user-name", "--new-name", "Alice B."}, "updateUserName"),
        std::pair(Arguments{"unknown-credential"}, "removeUnknownCredential"),
        std::pair(Arguments{"accepted-credentials", "--credential", "AQ", "--credential", "Ag"},
                  R"("acceptedCredentialIDs":[{"data":"AQ"},{"data":"Ag"}])")}) {
    Arguments arguments = {"report"};
    arguments.insert(arguments.end(), command.begin(), command.end());
    const auto result = runLab(arguments);
    EXPECT_EQ(result.status, 0) << type << result.errors;
    EXPECT_THAT(result.output, HasSubstr(type));
    EXPECT_THAT(result.output, HasSubstr("reports have no outcome"));
    EXPECT_THAT(result.output, HasSubstr("✓ The report was sent to the host"));
  }
}

TEST_F(LabCommands, ReportChangesTheVaultOfAHostThatRuns) {
  const std::string vault = stage_.file("vault.json");
  const auto passkey = startHost({"--vault", vault});
  const auto result = onContainer({"report", "unknown-credential", "--credential",
                                   passkey.at("credentialID").get<std::string>()});
  EXPECT_EQ(result.status, 0) << result.output << result.errors;
  const auto signIn = onContainer({"sign-in"});
  EXPECT_THAT(signIn.output, HasSubstr("ASExtensionErrorDomain code 101"));
}

TEST_F(LabCommands, ReportIsLostWithoutAHost) {
  const auto result =
      onContainer({"report", "updated-user-name", "--new-name", "x", "--user-handle", "AQ"});
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.output, HasSubstr("Nothing was sent. Connections that failed: 1."));
  EXPECT_THAT(result.output, HasSubstr("✗ The report is lost"));
}

TEST_F(LabCommands, DemoRunsOneStepByItself) {
  const auto result = runLab({"demo", "--step", "8"});
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_THAT(result.output, testing::StartsWith("8. A locked vault\n"));
  EXPECT_EQ(std::ranges::count(result.output, '\n'), 3) << result.output;
}

TEST_F(LabCommands, RefuseWrongArgumentsInOneSentenceThatNamesThem) {
  std::ofstream(stage_.file("text")) << "text";
  std::ofstream(stage_.file("object")) << "{}";
  using Row = std::pair<Arguments, std::string>;
  for (const auto& [arguments, error] : {
           Row{{}, "needs one more word; it must be one of demo, register, sign-in, configure"},
           Row{{"sing-in"}, "\"sing-in\" is unknown to "},
           Row{{"--verbose"}, "\"--verbose\" is unknown to "},
           Row{{"demo", "--step", "17"}, "--step: \"17\" is not the number of a step from 1 to 16"},
           Row{{"demo", "--step", "x"}, "--step: \"x\" is not the number of a step from 1 to 16"},
           Row{{"demo", "--fast"}, "--fast"},
           Row{{"register", "--exclude", "a+b"}, "\"a+b\" is not base64url without padding"},
           Row{{"register", "--user"}, "--user"},
           Row{{"register", "--container", ""}, "must be a directory, or none"},
           Row{{"sign-in", "--user-name", "x"}, "--user-name"},
           Row{{"sign-in", "--public-key", "missing.pem"}, "missing.pem"},
           Row{{"sign-in", "--passkey", "missing.json"}, "missing.json"},
           Row{{"sign-in", "--passkey", stage_.file("text")}, "is not JSON, as register --save"},
           Row{{"sign-in", "--passkey", stage_.file("object")}, "recordIdentifier is missing"},
           Row{{"sign-in", "--allow", "AQ"}, "--allow requires --list"},
           Row{{"sign-in", "--user-verification", "yes"},
               "\"yes\" is unknown; it must be required"},
           Row{{"register", "--algorithms", "ES256"}, "--algorithms"},
           Row{{"configure", "--host-application", ""}, "must be an executable, or none"},
           Row{{"configure", "--trust-anchor", "missing.pem"}, "missing.pem"},
           Row{{"configure", "now"}, "now"},
           Row{{"report"}, "must be one of updated-user-name, unknown-credential, accepted-cred"},
           Row{{"report", "renamed"}, "\"renamed\" is unknown to "},
           Row{{"report", "updated-user-name"}, "--new-name is required"},
           Row{{"report", "updated-user-name", "--new-name", "x", "--user-handle", "="},
               "--user-handle: \"=\" is not base64url"},
           Row{{"report", "unknown-credential", "--credential", "A"}, "\"A\" is not base64url"},
           Row{{"report", "unknown-credential", "--container", "none"}, "--credential is missing"},
           Row{{"report", "accepted-credentials", "--container", "none"},
               "--user-handle is missing"},
           Row{{"call", "--show"}, "--show"},
           Row{{"call", "--timeout", "0"},
               "--timeout: \"0\" is not a number of seconds from 0.001 to 86400"},
           Row{{"report", "unknown-credential", "--timeout", "1s"}, "\"1s\" is not a number"},
           Row{{"identifiers", "--json"}, "--json"},
       }) {
    const auto result = runLab(arguments);
    EXPECT_EQ(result.status, 2) << error;
    EXPECT_EQ(result.output, "") << error;
    EXPECT_THAT(result.errors, AllOf(HasSubstr(error), EndsWith("\n")));
    EXPECT_EQ(std::ranges::count(result.errors, '\n'), 1) << result.errors;
  }
}

/// The columns of the longest line. The characters of the help are all of one byte.
std::size_t longestLine(const std::string& text) {
  std::size_t longest = 0;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    longest = std::max(longest, line.size());
  }
  return longest;
}

/// Runs a shell that finds the built programs by their names alone.
Program::Result runInShell(const std::string& command, const fs::path& data) {
  const std::string path = fs::path(KORVAN_LAB).parent_path().string() + ":" +
                           fs::path(KORVAN_SAMPLE_HOST).parent_path().string() + ":/usr/bin:/bin";
  return Program({"/usr/bin/env", "PATH=" + path, "XDG_DATA_HOME=" + data.string(), "/bin/sh", "-c",
                  command})
      .finish();
}

TEST_F(LabCommands, HelpFitsAScreenAndItsExampleWorksWhenPasted) {
  for (const char* const command :
       {"korvan-lab", "korvan-lab demo", "korvan-lab register", "korvan-lab sign-in",
        "korvan-lab configure", "korvan-lab report", "korvan-lab report updated-user-name",
        "korvan-lab report unknown-credential", "korvan-lab report accepted-credentials",
        "korvan-lab call", "korvan-lab identifiers", "korvan-lab help"}) {
    const auto help = runInShell(std::string(command) + " --help", directory_.path());
    EXPECT_EQ(help.status, 0) << help.errors;
    EXPECT_LE(std::ranges::count(help.output, '\n'), 40) << help.output;
    EXPECT_LE(longestLine(help.output), 80U) << help.output;
    const auto start = help.output.find("Example:\n");
    ASSERT_NE(start, std::string::npos) << help.output;
    const auto example = runInShell(help.output.substr(start + 9), stage_.file("data"));
    EXPECT_EQ(example.status, 0) << help.output << example.errors;
    EXPECT_NE(example.output, "");
  }
}

TEST_F(LabCommands, HelpOfTheSampleHostFitsAScreenAndItsExampleListens) {
  const auto help = runInShell("korvan-sample-host --help", directory_.path());
  EXPECT_LE(std::ranges::count(help.output, '\n'), 24) << help.output;
  EXPECT_LE(longestLine(help.output), 80U) << help.output;
  const std::string example = help.output.substr(help.output.find("Example:\n  ") + 11);
  Program host({"/usr/bin/env",
                "PATH=" + fs::path(KORVAN_SAMPLE_HOST).parent_path().string() + ":/usr/bin:/bin",
                "TMPDIR=" + directory_.path().string(), "/bin/sh", "-c", "exec " + example});
  EXPECT_EQ(nlohmann::json::parse(host.readLine()).at("event"), "ready");
  host.signal(SIGTERM);
  EXPECT_EQ(host.finish().status, 0);
}

}  // namespace
}  // namespace korvan::lab
