#include "lab/json/JsonFields.h"

#include <functional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/support/Bytes_testing.h"

namespace korvan::lab {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::Eq;
using testing::Optional;
using testing::StrEq;
using testing::ThrowsMessage;

TEST(JsonFields, ReadEachType) {
  const json object = json::parse(
      R"({"s":"a","ss":["a","b"],"is":[-7,9223372036854775807],"b":"AQI","bs":["","_-8"],
          "o":{"x":1},"os":[{},{}]})");
  const JsonFields fields(object, "");
  EXPECT_THAT(fields.string("s"), Optional(StrEq("a")));
  EXPECT_THAT(fields.strings("ss"), Optional(ElementsAre("a", "b")));
  EXPECT_THAT(fields.integers("is"), Optional(ElementsAre(-7, INT64_MAX)));
  EXPECT_THAT(fields.bytes("b"), Optional(Eq(bytes({1, 2}))));
  EXPECT_THAT(fields.byteStrings("bs"), Optional(ElementsAre(Data(), bytes({0xFF, 0xEF}))));
  EXPECT_TRUE(fields.object("o").has_value());
  EXPECT_EQ(fields.objects("os")->size(), 2U);
}

TEST(JsonFields, ReadAbsentAndNullAsNoneAndNotAsEmpty) {
  const json object = json::parse(R"({"null":null,"text":"","list":[]})");
  const JsonFields fields(object, "");
  for (const char* const key : {"null", "absent"}) {
    EXPECT_EQ(fields.string(key), std::nullopt);
    EXPECT_EQ(fields.strings(key), std::nullopt);
    EXPECT_EQ(fields.integers(key), std::nullopt);
    EXPECT_EQ(fields.bytes(key), std::nullopt);
    EXPECT_EQ(fields.byteStrings(key), std::nullopt);
    EXPECT_FALSE(fields.object(key).has_value());
    EXPECT_FALSE(fields.objects(key).has_value());
  }
  EXPECT_EQ(fields.string("text"), "");
  EXPECT_EQ(fields.bytes("text"), Data());
  EXPECT_TRUE(fields.integers("list")->empty());
}

TEST(JsonFields, RefuseAValueOfAnotherTypeWithItsPlace) {
  const json object = json::parse(R"({"v":[1,"x",null]})");
  const JsonFields fields(object, "request");
  EXPECT_THAT([&] { (void)fields.string("v"); },
              ThrowsMessage<InvalidLine>("request.v is an array; it must be a string."));
  EXPECT_THAT([&] { (void)fields.integers("v"); },
              ThrowsMessage<InvalidLine>("request.v[1] is a string; it must be an integer."));
  EXPECT_THAT([&] { (void)fields.strings("v"); },
              ThrowsMessage<InvalidLine>("request.v[0] is a number; it must be a string."));
  EXPECT_THAT([&] { (void)fields.object("v"); },
              ThrowsMessage<InvalidLine>("request.v is an array; it must be an object."));
  EXPECT_THAT([&] { (void)fields.objects("v"); },
              ThrowsMessage<InvalidLine>("request.v[0] is a number; it must be an object."));
}

TEST(JsonFields, RefuseNumbersThatAreNoIntegersOf64Bits) {
  for (const char* const number : {"-7.0", "1e3", "9223372036854775808", "99999999999999999999"}) {
    const json object = json::parse(std::string(R"({"v":[)") + number + "]}");
    EXPECT_THROW((void)JsonFields(object, "").integers("v"), InvalidLine) << number;
  }
}

TEST(JsonFields, SayWhatIsWrongWithBytes) {
  using Row = std::pair<const char*, const char*>;
  for (const auto& [text, flaw] :
       {Row{"AQ==", "v is padded with \"=\""},
        Row{"A+8", "v has a character that base64url does not use at position 2"},
        Row{"AQI D", "v has a character that base64url does not use at position 4"},
        Row{"AQIDB", "v is one character too short or too long"},
        Row{"AR", "v has bits set that belong to no byte in its last character"},
        Row{"AQJ", "v has bits set that belong to no byte in its last character"}}) {
    const json object = {{"v", text}};
    EXPECT_THAT(
        [&] { (void)JsonFields(object, "").bytes("v"); },
        ThrowsMessage<InvalidLine>(std::string(flaw) +
                                   "; it must be bytes, a string of base64url without padding."))
        << text;
  }
}

TEST(JsonFields, RefuseUnknownKeysAndNameTheKnownOnes) {
  const json object = json::parse(R"({"a":1,"B":2})");
  const JsonFields fields(object, "request");
  EXPECT_NO_THROW(fields.allowOnly({"a", "B", "c"}));
  EXPECT_THAT([&] { fields.allowOnly({"a", "b"}); },
              ThrowsMessage<InvalidLine>("request.B is no key here; the keys are a, b."));
}

}  // namespace
}  // namespace korvan::lab
