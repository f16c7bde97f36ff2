#include "lab/browser/BrowserProfile.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "lab/browser/BridgeSettings.h"
#include "lab/browser/BrowserProcess.h"
#include "lab/processes/Program_testing.h"
#include "lab/site/ValueWords.h"
#include "lab/support/Base64Url.h"
#include "lab/support/FileContents.h"
#include "lab/support/TemporaryDirectory.h"

namespace korvan::lab {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

json jsonIn(const fs::path& file) { return json::parse(contentsOf(file)); }

LabSettings someSettings() {
  return {.container = "/a container",
          .hostApplication = std::nullopt,
          .trustAnchorPem = "PEM",
          .operatingSystemVersion = {.major = 14, .minor = 6, .patch = 1},
          .noticeMode = NoticeMode::windowWhenNeeded,
          .timeout = std::chrono::milliseconds(1500)};
}

class BrowserProfileTest : public testing::Test {
 protected:
  void SetUp() override { fs::create_directory(home_); }

  TemporaryDirectory directory_;
  // A name that a shell would take apart.
  const fs::path home_ = directory_.path() / "Bob's profile";
  const BrowserProfile profile_{home_};
};

TEST_F(BrowserProfileTest, GivesTheBrowserTheExtensionAndItsBridge) {
  profile_.write(someSettings(), KORVAN_LAB);
  profile_.writeStartPage("https://example.com/");
  for (const char* const name : {"manifest.json", "worker.js", "page.js", "icon.png"}) {
    EXPECT_TRUE(fs::exists(profile_.extension() / name)) << name;
  }
  EXPECT_EQ(jsonIn(profile_.extension() / "start.json"), (json{{"url", "https://example.com/"}}));
  EXPECT_TRUE(fs::is_directory(profile_.temporary()));
  const fs::path manifest = profile_.userData() / "NativeMessagingHosts" /
                            (std::string(BrowserProfile::BridgeName) + ".json");
  EXPECT_EQ(manifest, profile_.bridgeManifest());
  const json bridge = jsonIn(manifest);
  EXPECT_EQ(bridge["name"], BrowserProfile::BridgeName);
  EXPECT_EQ(bridge["path"], (home_ / "bridge").string());
  EXPECT_EQ(bridge["type"], "stdio");
  EXPECT_EQ(bridge["allowed_origins"],
            (json{"chrome-extension://" + std::string(BrowserProfile::ExtensionIdentifier) + "/"}));
}

TEST_F(BrowserProfileTest, StartsTheBridgeOfTheProfile) {
  const fs::path program = directory_.path() / "it's a program";
  std::ofstream(program) << "#!/bin/sh\nprintf '%s|' \"$@\"\n";
  fs::permissions(program, fs::perms::owner_all);
  fs::create_directories(directory_.path() / "browser-extension");
  std::ofstream(directory_.path() / "browser-extension" / "manifest.json") << "{}";
  profile_.write(someSettings(), program);
  const auto result = Program({home_ / "bridge", "chrome-extension://x/"}).finish();
  EXPECT_EQ(result.output, "browser-bridge|" + home_.string() + "|");
}

TEST_F(BrowserProfileTest, CanBeWrittenAgain) {
  profile_.write(someSettings(), KORVAN_LAB);
  profile_.write(LabSettings(), KORVAN_LAB);
  EXPECT_EQ(bridgeSettingsFrom(contentsOf(profile_.settingsFile())).container, std::nullopt);
}

TEST_F(BrowserProfileTest, SaysThatTheExtensionIsMissing) {
  EXPECT_THAT([&] { profile_.write(someSettings(), directory_.path() / "korvan-lab"); },
              testing::ThrowsMessage<std::runtime_error>(
                  HasSubstr((directory_.path() / "browser-extension").string())));
}

TEST_F(BrowserProfileTest, KnowsTheIdentifierThatTheExtensionsKeyGives) {
  profile_.write(someSettings(), KORVAN_LAB);
  const std::string key = jsonIn(profile_.extension() / "manifest.json")["key"];
  std::string unpadded = key.substr(0, key.find('='));
  std::ranges::replace(unpadded, '+', '-');
  std::ranges::replace(unpadded, '/', '_');
  std::string identifier = hexadecimalOf(sha256(fromBase64Url(unpadded)->bytes()).bytes());
  identifier.resize(BrowserProfile::ExtensionIdentifier.size());
  for (char& digit : identifier) {
    digit = static_cast<char>('a' + (digit <= '9' ? digit - '0' : digit - 'a' + 10));
  }
  EXPECT_EQ(identifier, BrowserProfile::ExtensionIdentifier);
  EXPECT_THAT(contentsOf(profile_.extension() / "page.js"), HasSubstr("'" + identifier + "'"));
  EXPECT_THAT(contentsOf(profile_.extension() / "worker.js"),
              HasSubstr("'" + std::string(BrowserProfile::BridgeName) + "'"));
}

TEST(BridgeSettings, AreReadAsTheyWereWritten) {
  for (const LabSettings& settings : {someSettings(), LabSettings()}) {
    const LabSettings read = bridgeSettingsFrom(bridgeSettingsText(settings));
    EXPECT_EQ(read.container, settings.container);
    EXPECT_EQ(read.hostApplication, settings.hostApplication);
    EXPECT_EQ(read.trustAnchorPem, settings.trustAnchorPem);
    EXPECT_EQ(read.operatingSystemVersion.major, settings.operatingSystemVersion.major);
    EXPECT_EQ(read.operatingSystemVersion.minor, settings.operatingSystemVersion.minor);
    EXPECT_EQ(read.operatingSystemVersion.patch, settings.operatingSystemVersion.patch);
    EXPECT_EQ(read.noticeMode, settings.noticeMode);
    EXPECT_EQ(read.timeout, settings.timeout);
  }
}

TEST(BridgeSettings, SayWhatIsWrong) {
  for (const char* const text : {"", "[]", "{}", R"({"operatingSystemVersion":[15]})"}) {
    EXPECT_THAT(
        [&] { return bridgeSettingsFrom(text); },
        testing::ThrowsMessage<std::runtime_error>(HasSubstr("the bridge's settings are wrong")))
        << text;
  }
}

TEST(BrowserArguments, LoadTheLabsExtensionAndNoOther) {
  const BrowserProfile profile("/profile");
  const auto arguments = browserArguments(profile, {.program = "/usr/bin/chromium"});
  EXPECT_EQ(arguments.front(), "/usr/bin/chromium");
  EXPECT_EQ(arguments.back(), "about:blank");
  EXPECT_THAT(arguments, Contains("--user-data-dir=/profile/user-data"));
  EXPECT_THAT(arguments, Contains("--load-extension=/profile/extension"));
  EXPECT_THAT(arguments, Contains("--disable-extensions-except=/profile/extension"));
  EXPECT_THAT(arguments, Not(Contains("--headless=new")));
  EXPECT_THAT(arguments, Not(Contains("--no-sandbox")));
}

TEST(BrowserArguments, HideTheWindowAndDropTheSandboxWhenTold) {
  const auto arguments = browserArguments(
      BrowserProfile("/profile"), {.program = "chromium", .headless = true, .noSandbox = true});
  EXPECT_THAT(arguments, Contains("--headless=new"));
  EXPECT_THAT(arguments, Contains("--no-sandbox"));
}

}  // namespace
}  // namespace korvan::lab
