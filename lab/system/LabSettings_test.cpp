#include "lab/system/LabSettings.h"

#include <gtest/gtest.h>

namespace korvan::lab {
namespace {

TEST(OperatingSystemVersionText, IsOneToThreeNumbers) {
  using Version = OperatingSystemVersion;
  EXPECT_EQ(parseOperatingSystemVersion("15"), (Version{15, 0, 0}));
  EXPECT_EQ(parseOperatingSystemVersion("15.0"), (Version{15, 0, 0}));
  EXPECT_EQ(parseOperatingSystemVersion("14.6.1"), (Version{14, 6, 1}));
}

TEST(OperatingSystemVersionText, IsRefusedWhenItIsAnythingElse) {
  for (const char* const text : {"", ".", "15.", ".15", "15..1", "15.0.0.0", "x", "15x", "15.0 ",
                                 " 15", "-1", "+15", "15.-1", "99999999999"}) {
    const auto version = parseOperatingSystemVersion(text);
    ASSERT_FALSE(version.has_value()) << text;
    EXPECT_NE(version.error().find('"' + std::string(text) + '"'), std::string::npos);
  }
}

}  // namespace
}  // namespace korvan::lab
