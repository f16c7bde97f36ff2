// `korvan-lab browser` without a browser: what it says, and what it leaves in a directory.

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/browser/BrowserProfile.h"
#include "lab/processes/Program_testing.h"
#include "lab/support/TemporaryDirectory.h"

namespace korvan::lab {
namespace {

using testing::EndsWith;
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

/// Runs the command, whose browser is a script with these lines.
Program::Result runWithBrowser(std::string_view lines, std::vector<std::string> arguments) {
  const TemporaryDirectory directory;
  const std::filesystem::path browser = directory.path() / "chromium";
  std::ofstream(browser) << "#!/bin/sh\n" << lines << '\n';
  std::filesystem::permissions(browser, std::filesystem::perms::owner_all);
  arguments.insert(arguments.begin(), {"/usr/bin/env", "PATH=" + directory.path().string(),
                                       KORVAN_LAB, "browser", "--headless"});
  return Program(std::move(arguments)).finish();
}

TEST(BrowserCommand, SaysHowTheBrowserFailedAndWhatItWrote) {
  const std::vector<std::string> site = {"--site", "https://example.com"};
  const auto failed = runWithBrowser("echo 'no display' >&2; exit 3", site);
  EXPECT_EQ(failed.status, 1);
  EXPECT_THAT(failed.output,
              EndsWith("✗ Chromium ended with exit status 3. It wrote:\n    no display\n"));
  const auto killed = runWithBrowser("kill -KILL $$", site);
  EXPECT_EQ(killed.status, 1);
  EXPECT_THAT(killed.output, EndsWith("✗ Chromium ended with SIGKILL and wrote nothing.\n"));
}

TEST(BrowserCommand, FailsWhenTheBrowserEndsBeforeThePageHasRunByItself) {
  const auto early = runWithBrowser("exit 0", {});
  EXPECT_EQ(early.status, 1);
  EXPECT_THAT(early.output, EndsWith("✗ Chromium ended with exit status 0 and wrote nothing.\n"));
  EXPECT_EQ(runWithBrowser("exit 0", {"--site", "https://example.com"}).status, 0);
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
