// The adapters of one call each, against the system that the test runs on.

#include <cmath>

#include <gtest/gtest.h>

#include "platform/apple/AppleAppGroupContainers.h"
#include "platform/apple/AppleClock.h"
#include "platform/apple/AppleLocalizedStrings.h"
#include "platform/apple/AppleOperatingSystem.h"
#include "platform/apple/AppleWorkspace.h"

namespace korvan {
namespace {

TEST(AppleAppGroupContainers, ThePathIsAbsoluteAndNamesTheGroup) {
  const auto path = AppleAppGroupContainers().containerPath("KRVNLAB001.example.korvan.test");
  if (path) {
    EXPECT_TRUE(path->starts_with("/")) << *path;
    EXPECT_NE(path->find("KRVNLAB001.example.korvan.test"), std::string::npos) << *path;
  }
}

TEST(AppleAppGroupContainers, AGroupThatIsNotUTF8HasNone) {
  EXPECT_EQ(AppleAppGroupContainers().containerPath("\xFF"), std::nullopt);
}

TEST(AppleClock, GoesOnWhileTheThreadSleeps) {
  const AppleClock clock;
  const double before = clock.systemUptime();
  clock.usleep(1000);
  EXPECT_GE(clock.systemUptime(), before + 0.001);
}

TEST(AppleLocalizedStrings, ATextWithoutTranslationIsItsKey) {
  EXPECT_EQ(AppleLocalizedStrings().localizedString("Couldn\u2019t"), "Couldn\u2019t");
}

TEST(AppleLocalizedStrings, AKeyThatIsNotUTF8IsItsOwnText) {
  EXPECT_EQ(AppleLocalizedStrings().localizedString("\xFF"), "\xFF");
}

TEST(AppleOperatingSystem, IsAtLeastWhatTheExtensionNeeds) {
  EXPECT_TRUE(AppleOperatingSystem().isAtLeast({.major = 14}));
  EXPECT_FALSE(AppleOperatingSystem().isAtLeast({.major = 1000}));
}

TEST(AppleWorkspace, DoesNotOpenWhatIsNotAURL) {
  EXPECT_FALSE(AppleWorkspace().openURL("\xFF"));
  EXPECT_FALSE(AppleWorkspace().openURL("korvan-test-without-an-application:"));
}

TEST(AppleWorkspace, NoApplicationHasAnUnknownIdentifier) {
  EXPECT_EQ(AppleWorkspace().runningApplicationCount("example.korvan.nobody"), 0U);
  EXPECT_EQ(AppleWorkspace().runningApplicationCount("\xFF"), 0U);
}

}  // namespace
}  // namespace korvan
