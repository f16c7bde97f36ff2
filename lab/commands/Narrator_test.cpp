#include "lab/commands/Narrator.h"

#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/support/Bytes_testing.h"
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

TEST_F(NarratorTest, ShowsTheBytesOfAnAnswerThatCannotBeRead) {
  const LinuxPropertyListSerialization propertyLists;
  const auto tell = [&](const Data& bytes, bool isWhole) {
    narrator_.message(propertyLists,
                      {.direction = Direction::response, .isWhole = isWhole, .bytes = bytes});
  };
  tell(bytes({0x32, 0, 0, 0}), false);
  tell(Data(), false);
  tell(bytes({'{', '"'}), true);
  EXPECT_THAT(told(), HasSubstr("No whole answer: 4 bytes: 32000000; "));
  EXPECT_THAT(told(), HasSubstr("is 50 with its bytes reversed\n  No answer came.\n"));
  EXPECT_THAT(told(), HasSubstr("Answered: 2 bytes: 7b22, which look like JSON\n"));
}

TEST_F(NarratorTest, DoesNotNameAPasskeyThatHasNoID) {
  CallResult result;
  result.outcome = CompletedAssertion{};
  narrator_.outcome(result);
  EXPECT_THAT(told(), HasSubstr("completed the sign-in with a passkey without an ID.\n"));
}

}  // namespace
}  // namespace korvan::lab
