// The lab's program and the sample host's, as people and scripts use them.

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include "lab/processes/Program_testing.h"
#include "lab/processes/Stage.h"
#include "lab/support/TemporaryDirectory.h"

namespace korvan::lab {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* Hash = "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8";

json passkeyRequest() {
  return {{"class", "ASPasskeyCredentialRequest"},
          {"credentialIdentity", {{"relyingPartyIdentifier", "example.com"}}},
          {"clientDataHash", Hash}};
}

json silentCall(json request = passkeyRequest()) {
  return {{"entryPoint", "provideCredentialWithoutUserInteractionForRequest:"},
          {"request", std::move(request)}};
}

json interactiveCall() {
  return {{"entryPoint", "prepareInterfaceToProvideCredentialForRequest:"},
          {"request", passkeyRequest()}};
}

/// A private container, with a host on it or without, and the lab's program to talk to it.
class KorvanLabTest : public testing::Test {
 protected:
  SampleHostProcess& startHost(const std::vector<std::string>& arguments = {},
                               const fs::path& program = KORVAN_SAMPLE_HOST) {
    SampleHostProcess& host = stage_.startHost(program, arguments);
    ready_ = host.nextEvent();
    return host;
  }

  [[nodiscard]] json passkey() const { return ready_.at("passkeys").at(0); }

  /// The arguments of `call` on the container, with more before them.
  [[nodiscard]] std::vector<std::string> callArguments(std::vector<std::string> more = {}) const {
    std::vector<std::string> arguments = {"call", "--container", stage_.container()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    if (std::ranges::find(arguments, "--host-application") == arguments.end()) {
      arguments.insert(arguments.end(), {"--host-application", "none"});
    }
    return arguments;
  }

  /// The answer to one call.
  [[nodiscard]] json answer(const json& line, const std::vector<std::string>& more = {}) const {
    const auto result = runLab(callArguments(more), line.dump() + "\n");
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    const auto lines = jsonLines(result.output);
    EXPECT_EQ(lines.size(), 1U) << result.output;
    return lines.empty() ? json() : lines.front();
  }

  TemporaryDirectory directory_;
  Stage stage_{directory_.path()};
  json ready_;
};

TEST_F(KorvanLabTest, ShowsWhatWentOverTheSocket) {
  startHost();
  json request = passkeyRequest();
  request["credentialIdentity"]["recordIdentifier"] = passkey().at("recordIdentifier");
  const json line = answer(silentCall(request), {"--show-messages"});
  const json& messages = line.at("messages");
  ASSERT_EQ(messages.size(), 2U) << line;
  EXPECT_EQ(messages[0].at("direction"), "request");
  EXPECT_EQ(messages[0].at("message"), json({{"allowedCredentials", json::array()},
                                             {"allowsUserInteraction", false},
                                             {"clientDataHash", {{"data", Hash}}},
                                             {"credentialID", {{"data", ""}}},
                                             {"recordIdentifier", passkey().at("recordIdentifier")},
                                             {"relyingPartyIdentifier", "example.com"},
                                             {"type", "assertion"},
                                             {"userVerificationPreference", "preferred"}}));
  EXPECT_EQ(messages[1].at("direction"), "response");
  EXPECT_EQ(messages[1].at("message").at("ok"), true);
  EXPECT_EQ(messages[1].at("message").at("signature").at("data"),
            line.at("credential").at("signature"));
}

TEST_F(KorvanLabTest, ServesLaterLinesAfterOneThatIsNotACall) {
  const auto result =
      runLab(callArguments(), "\nnonsense\n  \t\r\n" + silentCall(nullptr).dump() + "\r\n[]");
  EXPECT_EQ(result.status, 2);
  const auto lines = jsonLines(result.output);
  ASSERT_EQ(lines.size(), 3U) << result.output;
  EXPECT_EQ(lines[0].at("outcome"), "invalid");
  EXPECT_THAT(lines[0].at("reason"), StartsWith("The line is not JSON"));
  EXPECT_TRUE(lines[0].at("milliseconds").is_number());
  EXPECT_EQ(lines[1].at("outcome"), "cancelled");
  EXPECT_EQ(lines[2].at("outcome"), "invalid");
}

TEST_F(KorvanLabTest, AnswersEachLineBeforeItReadsTheNext) {
  auto command = callArguments();
  command.insert(command.begin(), KORVAN_LAB);
  Program lab(command);
  for (int line = 0; line < 2; ++line) {
    lab.write(silentCall(nullptr).dump() + "\n");
    EXPECT_EQ(json::parse(lab.readLine()).at("outcome"), "cancelled");
  }
  EXPECT_EQ(lab.finish().status, 0);
}

TEST_F(KorvanLabTest, AnswersEachLineOfAFileBeforeItReadsTheNext) {
  const fs::path pipe = stage_.file("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), S_IRUSR | S_IWUSR), 0);
  auto command = callArguments({pipe});
  command.insert(command.begin(), KORVAN_LAB);
  Program lab(command);
  std::ofstream lines(pipe);
  for (int line = 0; line < 2; ++line) {
    lines << silentCall(nullptr).dump() << '\n' << std::flush;
    EXPECT_EQ(json::parse(lab.readLine()).at("outcome"), "cancelled");
  }
  lines.close();
  EXPECT_EQ(lab.finish().status, 0);
}

TEST_F(KorvanLabTest, FailsWithAClearErrorWhenItCannotStart) {
  using Row = std::pair<std::vector<std::string>, std::string>;
  std::ofstream(stage_.file("garbage")) << "garbage";
  const std::string missing = stage_.file("missing");
  const std::string directory = stage_.file(".");
  for (const auto& [arguments, error] :
       {Row{{"call", missing}, missing}, Row{{"call", directory}, directory},
        Row{{"call", "--trust-anchor", missing}, missing},
        Row{{"call", "--trust-anchor", stage_.file("garbage")}, stage_.file("garbage")},
        Row{{"call", "--os-version", "fifteen"}, "\"fifteen\" is not a version"},
        Row{{"call", "--notice", "x"}, "must be press-ok, leave, terminal or window"},
        Row{{"call", "--container", ""}, "must be a directory, or none"},
        Row{{"sign-in", "--list", "--interactive"}, " excludes --"},
        Row{{"sign-in", "--public-key", stage_.file("garbage")}, "is no P-256 public key"}}) {
    const auto result = runLab(arguments);
    EXPECT_EQ(result.status, 2) << error;
    EXPECT_EQ(result.output, "") << error;
    EXPECT_THAT(result.errors, HasSubstr(error));
  }
}

TEST_F(KorvanLabTest, PrintsWhomTheBuildTrusts) {
  const auto result = runLab({"identifiers"});
  const json line = json::parse(result.output);
  EXPECT_EQ(line.size(), 3U);
  EXPECT_EQ(line.at("appGroupIdentifier").get<std::string>(),
            line.at("hostTeamIdentifier").get<std::string>() + "." +
                line.at("hostBundleIdentifier").get<std::string>() + ".group");
}

TEST_F(KorvanLabTest, GivesUpALineThatTheHostDoesNotAnswerInTime) {
  SampleHostProcess& host = startHost();
  Program lab([this] {
    auto command = callArguments({"--timeout", "2", "--show-messages"});
    command.insert(command.begin(), KORVAN_LAB);
    return command;
  }());
  ::kill(host.processIdentifier(), SIGSTOP);
  lab.write(silentCall().dump() + "\n");
  const json late = json::parse(lab.readLine());
  EXPECT_EQ(late.at("outcome"), "timedOut");
  EXPECT_EQ(late.at("waitedFor"), "answer");
  EXPECT_EQ(late.at("messages").size(), 1U);
  lab.write(json{{"entryPoint", "reportUnknownPublicKeyCredentialForRelyingParty:credentialID:"},
                 {"relyingParty", "example.com"},
                 {"credentialID", "AQID"}}
                .dump() +
            "\n");
  EXPECT_EQ(json::parse(lab.readLine()).at("outcome"), "timedOut");
  ::kill(host.processIdentifier(), SIGCONT);
  lab.write(silentCall().dump() + "\n");
  EXPECT_EQ(json::parse(lab.readLine()).at("outcome"), "completedAssertion");
  EXPECT_EQ(lab.finish().status, 0);
}

TEST_F(KorvanLabTest, TurnsAnImpostorAwayBeforeItHearsAnything) {
  const fs::path copy = stage_.file("impostor");
  fs::copy_file(KORVAN_SAMPLE_HOST, copy);
  SampleHostProcess& impostor = startHost({}, copy);
  const json line = answer(silentCall(), {"--show-messages"});
  EXPECT_EQ(line.at("outcome"), "cancelled");
  EXPECT_EQ(line.at("error").at("code"), 0);
  EXPECT_THAT(line.at("error").at("localizedDescription"),
              StartsWith("Validating the Korvan peer code signature failed: "));
  EXPECT_EQ(line.at("messages"), json::array());
  EXPECT_EQ(impostor.nextEvent().at("bytesReceived"), 0);
}

TEST_F(KorvanLabTest, TrustsNoHostUnderAnotherAnchor) {
  SampleHostProcess& host = startHost();
  const fs::path anchor = stage_.file("anchor.pem");
  Program openssl({"/usr/bin/openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                   "ec_paramgen_curve:P-256", "-nodes", "-keyout", "/dev/null", "-subj",
                   "/CN=other", "-out", anchor});
  ASSERT_EQ(openssl.finish().status, 0);
  EXPECT_EQ(answer(silentCall(), {"--trust-anchor", anchor}).at("error").at("code"), 0);
  EXPECT_EQ(host.nextEvent().at("bytesReceived"), 0);
}

TEST_F(KorvanLabTest, OpensTheHostThatDoesNotRunAndSignsIn) {
  SampleHostProcess& host = startHost({"--vault", stage_.file("vault.json")});
  host.stop();
  const fs::path launcher = stage_.writeLauncher({"--vault", stage_.file("vault.json")});
  const json line = answer(interactiveCall(), {"--host-application", launcher});
  stage_.stopLaunchedHost();
  EXPECT_EQ(line.at("outcome"), "completedAssertion") << line;
  EXPECT_EQ(line.at("credential").at("credentialID"), passkey().at("credentialID"));
}

TEST_F(KorvanLabTest, LeavesTheNoticeUpWhenToldTo) {
  const json line = answer(interactiveCall(), {"--notice", "leave"});
  EXPECT_EQ(line.at("outcome"), "noticePending");
  EXPECT_EQ(line.size(), 2U) << line;
}

TEST_F(KorvanLabTest, DoesNotOpenAHostThatRunsWithoutListening) {
  SampleHostProcess elsewhere(KORVAN_SAMPLE_HOST, {"--container", stage_.file("elsewhere")});
  elsewhere.nextEvent();
  const json line = answer(interactiveCall(), {"--host-application", KORVAN_SAMPLE_HOST});
  EXPECT_EQ(line.at("outcome"), "cancelled");
  EXPECT_EQ(line.at("noticeShown"), false);
  EXPECT_THAT(line.at("error").at("localizedDescription"), HasSubstr("failed: "));
}

TEST_F(KorvanLabTest, SignsPeopleInAndChecksTheSignature) {
  for (const std::vector<std::string>& options :
       {std::vector<std::string>{}, {"--interactive"}, {"--list"}}) {
    auto arguments = options;
    arguments.insert(arguments.begin(), "sign-in");
    const auto result = runLab(arguments);
    EXPECT_EQ(result.status, 0) << result.errors << result.output;
    EXPECT_THAT(result.output, HasSubstr("signed by the registered passkey"));
    EXPECT_THAT(result.output, HasSubstr("✓ Signed in to example.com"));
    EXPECT_THAT(result.output, testing::Not(HasSubstr("\x1b")));
  }
}

TEST_F(KorvanLabTest, DoesNotCallASignInVerifiedWhoseSignatureItCannotCheck) {
  startHost();
  const auto result = runLab({"sign-in", "--container", stage_.container()});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("the signature was not checked"));
  EXPECT_THAT(result.output, HasSubstr("✗"));
}

TEST_F(KorvanLabTest, TellsThatThereIsNoPasskeyToSignInWith) {
  const auto result = runLab({"sign-in", "--relying-party", "example.net"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("ASExtensionErrorDomain code 101"));
  EXPECT_THAT(result.output, HasSubstr("✗"));
}

TEST_F(KorvanLabTest, ShowsTheWholeTour) {
  const auto result = runLab({"demo"});
  EXPECT_EQ(result.status, 0) << result.output << result.errors;
  EXPECT_EQ(result.errors, "");
  EXPECT_THAT(result.output, testing::Not(HasSubstr("✗")));
  EXPECT_THAT(result.output, HasSubstr("every step was verified"));
}

TEST_F(KorvanLabTest, LeavesNothingBehindWhenTheTourIsInterrupted) {
  const fs::path temporary = stage_.file("tmp");
  fs::create_directory(temporary);
  Program tour({"/usr/bin/env", "TMPDIR=" + temporary.string(), KORVAN_LAB, "demo"});
  // The second step, in which a host is opened, has begun.
  while (!tour.readLine().starts_with("2. ")) {
  }
  tour.signal(SIGINT);
  EXPECT_EQ(tour.finish().status, 128 + SIGINT);
  EXPECT_TRUE(fs::is_empty(temporary));
}

}  // namespace
}  // namespace korvan::lab
