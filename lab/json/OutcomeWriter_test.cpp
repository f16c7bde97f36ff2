#include "lab/json/OutcomeWriter.h"

#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "lab/support/Bytes_testing.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace korvan::lab {
namespace {

using nlohmann::json;

class OutcomeWriterTest : public testing::Test {
 protected:
  [[nodiscard]] std::string line(Outcome outcome) const {
    return OutcomeWriter(propertyLists_, false)
        .line({.outcome = std::move(outcome), .milliseconds = 1.23456, .frames = {}});
  }

  LinuxPropertyListSerialization propertyLists_;
};

TEST_F(OutcomeWriterTest, WritesACompletedAssertionWithNullForWhatTheHostLeftOut) {
  EXPECT_EQ(line(CompletedAssertion{{.userHandle = bytes({1}),
                                     .relyingParty = "example.com",
                                     .signature = Data(),
                                     .clientDataHash = std::nullopt,
                                     .authenticatorData = bytes({0xFF}),
                                     .credentialID = std::nullopt}}),
            R"({"outcome":"completedAssertion","credential":{"userHandle":"AQ",)"
            R"("relyingParty":"example.com","signature":"","clientDataHash":null,)"
            R"("authenticatorData":"_w","credentialID":null},"milliseconds":1.235})");
}

TEST_F(OutcomeWriterTest, WritesACompletedRegistration) {
  EXPECT_EQ(line(CompletedRegistration{{.relyingParty = "example.com",
                                        .clientDataHash = bytes({1}),
                                        .credentialID = bytes({2}),
                                        .attestationObject = std::nullopt}}),
            R"({"outcome":"completedRegistration","credential":{"relyingParty":"example.com",)"
            R"("clientDataHash":"AQ","credentialID":"Ag","attestationObject":null},)"
            R"("milliseconds":1.235})");
}

TEST_F(OutcomeWriterTest, WritesACancellationWithItsErrorAndWhetherTheNoticeWasShown) {
  const Error described{
      .domain = ErrorDomain::extension, .code = 101, .userInfo = {{.localizedDescription = "no"}}};
  EXPECT_EQ(line(Canceled{.error = described, .noticeShown = true}),
            R"({"outcome":"cancelled","error":{"domain":"ASExtensionErrorDomain","code":101,)"
            R"("localizedDescription":"no"},"noticeShown":true,"milliseconds":1.235})");
  const Error bare{.domain = ErrorDomain::extension, .code = 0, .userInfo = std::nullopt};
  EXPECT_EQ(line(Canceled{.error = bare}),
            R"({"outcome":"cancelled","error":{"domain":"ASExtensionErrorDomain","code":0,)"
            R"("localizedDescription":null},"noticeShown":false,"milliseconds":1.235})");
}

TEST_F(OutcomeWriterTest, WritesTheOtherOutcomes) {
  EXPECT_EQ(line(CompletedConfiguration()),
            R"({"outcome":"completedConfiguration","milliseconds":1.235})");
  EXPECT_EQ(line(NoticePending()), R"({"outcome":"noticePending","milliseconds":1.235})");
  EXPECT_EQ(line(Returned()), R"({"outcome":"returned","milliseconds":1.235})");
  EXPECT_EQ(line(Refused{"nil"}), R"({"outcome":"exception","reason":"nil","milliseconds":1.235})");
  EXPECT_EQ(line(TimedOut{"answer"}),
            R"({"outcome":"timedOut","waitedFor":"answer","milliseconds":1.235})");
}

TEST_F(OutcomeWriterTest, WritesWhyALineIsNotACall) {
  EXPECT_EQ(OutcomeWriter(propertyLists_, false).invalidLine("why"),
            R"({"outcome":"invalid","reason":"why","milliseconds":0})");
  EXPECT_EQ(OutcomeWriter(propertyLists_, true).invalidLine("why"),
            R"({"outcome":"invalid","reason":"why","milliseconds":0,"messages":[]})");
}

TEST_F(OutcomeWriterTest, ListsTheMessagesWhenAsked) {
  const Data body =
      propertyLists_.encodeBinary({{"clientDataHash", bytes({1})}, {"ok", true}}).value();
  const OutcomeWriter writer(propertyLists_, true);
  const json shown = json::parse(
      writer.line({.outcome = Returned(),
                   .frames = {{.direction = Direction::request, .body = body},
                              {.direction = Direction::response, .body = bytes({0xFF})}}}));
  EXPECT_EQ(shown.at("messages"), json::parse(R"([
      {"direction":"request","message":{"clientDataHash":{"data":"AQ"},"ok":true}},
      {"direction":"response","message":{"data":"_w"}}])"));
  EXPECT_EQ(json::parse(writer.line({.outcome = Returned(), .frames = {}})).at("messages"),
            json::array());
}

TEST_F(OutcomeWriterTest, WritesOneLineOfJsonWhateverTheHostSent) {
  const std::string text = line(Refused{"a\nb\xff"});
  EXPECT_EQ(text.find('\n'), std::string::npos);
  EXPECT_EQ(json::parse(text).at("reason"), "a\nb\xEF\xBF\xBD");
}

}  // namespace
}  // namespace korvan::lab
