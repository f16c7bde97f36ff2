// The bridge's program, as the browser starts it.

#include "lab/browser/BrowserBridge.h"

#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "lab/browser/BrowserMessages_testing.h"
#include "lab/browser/BrowserProfile.h"
#include "lab/browser/Stories.h"
#include "lab/processes/Program_testing.h"
#include "lab/support/TemporaryDirectory.h"
#include "lab/system/TrustAnchor.h"

namespace korvan::lab {
namespace {

using nlohmann::json;
using testing::HasSubstr;

const json NoEntryPoints = json::array();

/// A sign-in with these credentials.
json signInWith(const std::vector<std::string>& allowed,
                const std::string& verification = "preferred") {
  json credentials = json::array();
  for (const std::string& identifier : allowed) {
    credentials.push_back({{"id", identifier}, {"type", "public-key"}});
  }
  return signInMessage({{"allowCredentials", credentials}, {"userVerification", verification}});
}

class BrowserBridge : public testing::Test {
 protected:
  void SetUp() override { writeProfile(std::nullopt); }

  void writeProfile(std::optional<std::chrono::milliseconds> timeout,
                    std::string hostApplication = std::string(LabSettings::None)) {
    profile_.write({.container = container(),
                    .hostApplication = std::move(hostApplication),
                    .trustAnchorPem = std::string(TrustAnchorPem),
                    .noticeMode = NoticeMode::windowWhenNeeded,
                    .timeout = timeout},
                   KORVAN_LAB);
  }

  [[nodiscard]] std::string container() const { return directory_.path() / "container"; }

  /// Starts a sample host, and waits until it is ready.
  void startHost() {
    host_.emplace(std::vector<std::string>{KORVAN_SAMPLE_HOST, "--container", container()});
    EXPECT_NE(host_->readLine(), "");
  }

  /// Starts a host that takes connections and answers nothing.
  void startStalledHost() {
    startHost();
    host_->signal(SIGSTOP);
  }

  [[nodiscard]] Program bridge() const {
    return Program({"/usr/bin/env", "--unset=DISPLAY", "--unset=WAYLAND_DISPLAY", KORVAN_LAB,
                    "browser-bridge", directory_.path()});
  }

  /// The answer to a message.
  [[nodiscard]] json ask(const json& message) const {
    Program program = bridge();
    program.write(frameOf(message.dump()));
    const std::string answer = program.readOutput();
    EXPECT_EQ(program.finish().status, 0);
    return answerIn(answer);
  }

  static json answerIn(const std::string& output) {
    const json answer = json::parse(output.substr(sizeof(std::uint32_t)));
    EXPECT_EQ(frameOf(answer.dump()), output);
    return answer;
  }

  /// What the last bridge told.
  [[nodiscard]] json story() const { return listener_.next().value_or(json()); }

  TemporaryDirectory directory_;
  const BrowserProfile profile_{directory_.path()};
  const StoryListener listener_{profile_.storySocket()};
  std::optional<Program> host_;
};

TEST_F(BrowserBridge, MakesAPasskeyAndSignsInWithItSilently) {
  startHost();
  const json created = ask(creationMessage());
  const std::string identifier = created["response"]["id"];
  const json told = story();
  EXPECT_EQ(told["origin"], "https://login.example.com");
  EXPECT_EQ(told["kind"], "create");
  EXPECT_EQ(told["request"]["user"]["name"], "bob");
  EXPECT_EQ(told["entryPoints"], (json{"prepareInterfaceForPasskeyRegistration:"}));
  EXPECT_EQ(told["outcome"], "credential");
  EXPECT_GT(told["milliseconds"], 0);

  EXPECT_EQ(ask(signInWith({"AAAA", identifier}))["response"]["id"], identifier);
  EXPECT_EQ(story()["entryPoints"], (json{"provideCredentialWithoutUserInteractionForRequest:"}));
}

TEST_F(BrowserBridge, AsksTheUserWhenASilentSignInNeedsThem) {
  startHost();
  const std::string identifier = ask(creationMessage())["response"]["id"];
  (void)story();
  EXPECT_EQ(ask(signInWith({identifier}, "required"))["response"]["id"], identifier);
  EXPECT_EQ(story()["entryPoints"], (json{"provideCredentialWithoutUserInteractionForRequest:",
                                          "prepareInterfaceToProvideCredentialForRequest:"}));
}

TEST_F(BrowserBridge, LetsTheHostChooseAPasskeyThatTheSystemDoesNotKnow) {
  startHost();
  EXPECT_TRUE(ask(signInMessage()).contains("response"));
  EXPECT_EQ(story()["entryPoints"],
            (json{"prepareCredentialListForServiceIdentifiers:requestParameters:"}));
  EXPECT_EQ(ask(signInWith({"AQID"}))["error"]["name"], "NotAllowedError");
  EXPECT_THAT(story()["reason"], HasSubstr("code 101"));
}

TEST_F(BrowserBridge, PassesOnReportsAndTheConfiguration) {
  startHost();
  EXPECT_EQ(ask(reportMessage("signalUnknownCredential",
                              {{"rpId", "example.com"}, {"credentialId", "AQID"}})),
            (json{{"response", nullptr}}));
  json told = story();
  EXPECT_EQ(told["outcome"], "returned");
  EXPECT_EQ(told["entryPoints"],
            (json{"reportUnknownPublicKeyCredentialForRelyingParty:credentialID:"}));
  EXPECT_EQ(ask({{"kind", "configure"}}), (json{{"response", nullptr}}));
  told = story();
  EXPECT_EQ(told["outcome"], "completed");
  EXPECT_EQ(told["entryPoints"], (json{"prepareInterfaceForExtensionConfiguration"}));
}

TEST_F(BrowserBridge, TellsThePageAndTheTerminalThatThereIsNoHost) {
  const json answer = ask(creationMessage());
  EXPECT_EQ(answer["error"],
            (json{{"name", "NotAllowedError"}, {"message", "Korvan could not be opened."}}));
  const json told = story();
  EXPECT_EQ(told["outcome"], "canceled");
  EXPECT_EQ(told["error"], answer["error"]);
  EXPECT_EQ(told["noticeShown"], true);
  EXPECT_THAT(told["reason"], HasSubstr("ASExtensionErrorDomain code 0"));
}

TEST_F(BrowserBridge, TellsThePageAndTheTerminalWhatTheHostDidWrong) {
  for (const auto& [mistake, reason] :
       {std::pair("closes-without-an-answer", "closed the credential-provider connection"),
        {"half-the-body", "closed the credential-provider connection"},
        {"answers-in-json", "property list"},
        {"attests-text", "no authenticator data"},
        {"answers-with-another-credential-id", "another credential"}}) {
    std::filesystem::remove_all(container());
    std::filesystem::create_directory(container());
    std::filesystem::permissions(container(), std::filesystem::perms::owner_all);
    host_.emplace(std::vector<std::string>{KORVAN_BROKEN_HOST, "--container", container(),
                                           "--mistake", mistake});
    EXPECT_NE(host_->readLine(), "");
    const json error = ask(creationMessage())["error"];
    EXPECT_EQ(error["name"], "NotAllowedError") << mistake;
    EXPECT_NE(error["message"], "") << mistake;
    EXPECT_THAT(story()["reason"], HasSubstr(reason)) << mistake;
  }
}

TEST_F(BrowserBridge, SaysThatTheHostIsNotSigned) {
  const auto copy = directory_.path() / "unsigned-host";
  std::filesystem::copy_file(KORVAN_SAMPLE_HOST, copy);
  host_.emplace(std::vector<std::string>{copy, "--container", container()});
  EXPECT_NE(host_->readLine(), "");
  EXPECT_EQ(ask(creationMessage())["error"]["name"], "NotAllowedError");
  EXPECT_THAT(story()["reason"], HasSubstr("the program is not signed"));
}

TEST_F(BrowserBridge, OpensTheHostAndSaysWhyItDidNotStart) {
  writeProfile(std::chrono::milliseconds(300), "/bin/false");
  EXPECT_EQ(ask(creationMessage())["error"]["name"], "NotAllowedError");
  EXPECT_THAT(story()["reason"], HasSubstr("/bin/false ended with status 1"));
}

TEST_F(BrowserBridge, RefusesWhatTheSystemWouldNotPassOn) {
  json message = creationMessage();
  message["details"]["authenticatorSelection"]["authenticatorAttachment"] = "cross-platform";
  EXPECT_EQ(ask(message)["error"]["name"], "NotAllowedError");
  EXPECT_EQ(story()["entryPoints"], NoEntryPoints);
  message = creationMessage();
  message["details"]["user"]["id"] = "?";
  EXPECT_EQ(ask(message)["error"]["name"], "NotAllowedError");
  EXPECT_THAT(story()["reason"], HasSubstr("userHandle has a character"));
}

TEST_F(BrowserBridge, AnswersAMessageThatItCannotRead) {
  for (const auto& [frame, words] :
       {std::pair(frameOf("{"), "is not JSON"), {frameOf(""), "has no bytes"}}) {
    Program program = bridge();
    program.write(frame);
    EXPECT_EQ(answerIn(program.readOutput())["error"]["name"], "NotAllowedError");
    EXPECT_EQ(program.finish().status, 0);
    EXPECT_THAT(story()["reason"], HasSubstr(words));
  }
  Program program = bridge();
  program.write(frameOf("{}").substr(0, 5));
  EXPECT_TRUE(answerIn(program.finish().output).contains("error"));
  EXPECT_THAT(story()["reason"], HasSubstr("ends early"));
}

TEST_F(BrowserBridge, EndsWithoutAnAnswerWhenThePageTakesItsRequestBack) {
  startStalledHost();
  Program program = bridge();
  program.write(frameOf(creationMessage().dump()));
  const auto result = program.finish();
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.status, 0);
  const json told = story();
  EXPECT_EQ(told["error"]["name"], "AbortError");
  EXPECT_EQ(told["entryPoints"], (json{"prepareInterfaceForPasskeyRegistration:"}));
}

TEST_F(BrowserBridge, RefusesWhenTheHostTakesTooLong) {
  writeProfile(std::chrono::milliseconds(50));
  startStalledHost();
  const json error = ask(creationMessage())["error"];
  EXPECT_EQ(error["name"], "NotAllowedError");
  // On a busy machine the time is over before the host is asked.
  EXPECT_THAT(error["message"], testing::EndsWith(" in time."));
  EXPECT_EQ(story()["reason"], error["message"]);
}

TEST_F(BrowserBridge, WritesItsStoryToStandardErrorWhenNobodyListens) {
  std::filesystem::remove(profile_.storySocket());
  Program program = bridge();
  program.write(frameOf(creationMessage().dump()));
  EXPECT_TRUE(answerIn(program.readOutput()).contains("error"));
  EXPECT_THAT(program.finish().errors,
              HasSubstr("https://login.example.com create: "
                        "prepareInterfaceForPasskeyRegistration: → NotAllowedError"));
}

TEST_F(BrowserBridge, PressesOkWhereNoWindowCanBeOpened) {
  Program program = bridge();
  program.write(frameOf(creationMessage().dump()));
  EXPECT_TRUE(answerIn(program.readOutput()).contains("error"));
  EXPECT_THAT(program.finish().errors, HasSubstr("korvan-lab: no window can be shown"));
  EXPECT_EQ(story()["noticeShown"], true);
}

TEST_F(BrowserBridge, SaysThatItHasNoProfile) {
  const auto result =
      Program({KORVAN_LAB, "browser-bridge", directory_.path() / "missing"}).finish();
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_THAT(result.errors, HasSubstr("settings.json"));
}

}  // namespace
}  // namespace korvan::lab
