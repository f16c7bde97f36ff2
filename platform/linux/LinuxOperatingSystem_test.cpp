#include "platform/linux/LinuxOperatingSystem.h"

#include <gtest/gtest.h>

namespace korvan {
namespace {

TEST(LinuxOperatingSystem, IsAtLeastItsVersionAndAnyEarlierOne) {
  const LinuxOperatingSystem system({.major = 14, .minor = 5, .patch = 1});
  EXPECT_TRUE(system.isAtLeast({.major = 14, .minor = 5, .patch = 1}));
  EXPECT_TRUE(system.isAtLeast({.major = 14, .minor = 5}));
  EXPECT_TRUE(system.isAtLeast({.major = 14, .minor = 4, .patch = 9}));
  EXPECT_TRUE(system.isAtLeast({.major = 13, .minor = 9, .patch = 9}));
}

TEST(LinuxOperatingSystem, IsNotAtLeastALaterVersion) {
  const LinuxOperatingSystem system({.major = 14, .minor = 5, .patch = 1});
  EXPECT_FALSE(system.isAtLeast({.major = 14, .minor = 5, .patch = 2}));
  EXPECT_FALSE(system.isAtLeast({.major = 14, .minor = 6}));
  EXPECT_FALSE(system.isAtLeast({.major = 15}));
}

TEST(LinuxOperatingSystem, PrefersUserVerificationInTheWordOfWebAuthn) {
  EXPECT_EQ(LinuxOperatingSystem({}).preferredUserVerification(), "preferred");
}

}  // namespace
}  // namespace korvan
