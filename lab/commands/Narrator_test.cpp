#include "lab/commands/Narrator.h"

#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/system/Outcome.h"
#include "platform/PropertyList.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace korvan::lab {
namespace {

using testing::HasSubstr;

constexpr const char* FalseTick = "no\x1b[2K\r  ✓ Signed in\n";

class NarratorTest : public testing::Test {
 protected:
  [[nodiscard]] std::string told() const { return output_.str(); }

  std::ostringstream output_;
  Narrator narrator_{output_, false};
};

TEST_F(NarratorTest, ShowsTheControlCharactersOfAHostsError) {
  CallResult result;
  result.outcome = Canceled{.error = {.userInfo = ErrorUserInfo{FalseTick}}};
  narrator_.outcome(result);
  EXPECT_THAT(told(), HasSubstr("\"no\\u{1B}[2K\\u{D}  ✓ Signed in\\u{A}\"\n"));
}

TEST_F(NarratorTest, ShowsTheControlCharactersOfAHostsMessage) {
  const LinuxPropertyListSerialization propertyLists;
  const PropertyListDictionary message = {{"text", PropertyListValue("\u009b2K\u202E")}};
  CallResult result;
  result.frames = {
      {.direction = Direction::response, .body = propertyLists.encodeBinary(message).value()}};
  narrator_.messages(propertyLists, result);
  EXPECT_THAT(told(), HasSubstr("\"\\u{9B}2K\\u{202E}\""));
}

}  // namespace
}  // namespace korvan::lab
