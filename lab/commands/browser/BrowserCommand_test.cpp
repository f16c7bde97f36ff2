// `korvan-lab browser` without a browser: what it says, and what it leaves in a directory.

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/browser/BrowserProfile.h"
#include "lab/processes/Program_testing.h"
#include "lab/support/TemporaryDirectory.h"

namespace korvan::lab {
namespace {

using testing::HasSubstr;
using testing::Not;

/// Runs the command where no browser is installed.
Program::Result runWithoutBrowser(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), {"/usr/bin/env", "PATH=/nowhere", KORVAN_LAB, "browser"});
  return Program(std::move(arguments)).finish();
}

TEST(BrowserCommand, NamesThePackageThatIsMissing) {
  const auto result = runWithoutBrowser({"--site", "https://example.com"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors,
            "korvan-lab: Chromium is missing; on Debian, install the package chromium\n");
}

TEST(BrowserCommand, PutsWhatAPersonsOwnBrowserNeedsIntoADirectory) {
  const TemporaryDirectory directory;
  const std::filesystem::path place = directory.path() / "by hand";
  const auto result = runWithoutBrowser({"--install-by-hand", place});
  EXPECT_EQ(result.status, 0);
  const BrowserProfile profile(place);
  for (const auto& file : {profile.extension() / "manifest.json", profile.bridgeManifest(),
                           profile.settingsFile(), place / "bridge"}) {
    EXPECT_TRUE(std::filesystem::exists(file)) << file;
  }
  EXPECT_FALSE(std::filesystem::exists(profile.extension() / "start.json"));
  EXPECT_THAT(result.output, HasSubstr("cp \"" + profile.bridgeManifest().string() +
                                       "\" ~/.config/chromium/NativeMessagingHosts\n"));
  EXPECT_THAT(result.output, HasSubstr(profile.extension().string() + "\n"));
}

TEST(BrowserCommand, StartsTheBridgeForTheBrowserAndNobodyElse) {
  EXPECT_THAT(runLab({"--help"}).output, Not(HasSubstr("browser-bridge")));
  EXPECT_THAT(runLab({"browser-bridge"}).errors, HasSubstr("is unknown to"));
}

}  // namespace
}  // namespace korvan::lab
