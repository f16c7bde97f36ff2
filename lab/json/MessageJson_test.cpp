#include "lab/json/MessageJson.h"

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "platform/PropertyList.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace korvan::lab {
namespace {

using OrderedJson = nlohmann::ordered_json;

class MessageJsonTest : public testing::Test {
 protected:
  [[nodiscard]] OrderedJson json(const PropertyListDictionary& message) const {
    return messageJson(propertyLists_, propertyLists_.encodeBinary(message).value());
  }

  LinuxPropertyListSerialization propertyLists_;
};

TEST_F(MessageJsonTest, ShowsEveryKindOfValue) {
  const std::vector<std::uint8_t> bytes = {1, 2};
  EXPECT_EQ(json({{"array", PropertyListValue::Array{1, "x"}},
                  {"boolean", true},
                  {"data", Data::copyOf(bytes)},
                  {"date", PropertyListDate{1.5}},
                  {"dictionary", PropertyListDictionary()},
                  {"integer", -7},
                  {"large", UINT64_MAX},
                  {"real", 0.25},
                  {"text", "é"},
                  {"uid", PropertyListUid{3}}}),
            OrderedJson::parse(R"({"array":[1,"x"],"boolean":true,"data":{"data":"AQI"},
              "date":{"date":1.5},"dictionary":{},"integer":-7,"large":18446744073709551615,
              "real":0.25,"text":"é","uid":{"uid":3}})"));
}

TEST_F(MessageJsonTest, ShowsTheBytesOfWhatIsNotAPropertyList) {
  const std::vector<std::uint8_t> bytes = {0xFF};
  EXPECT_EQ(messageJson(propertyLists_, Data::copyOf(bytes)), (OrderedJson{{"data", "_w"}}));
}

TEST_F(MessageJsonTest, ShowsTheBytesOfAPropertyListThatIsNotADictionary) {
  const Data body = std::vector<std::uint8_t>{'<', 't', 'r', 'u', 'e', '/', '>'};
  ASSERT_TRUE(propertyLists_.decode(body).has_value());
  EXPECT_TRUE(messageJson(propertyLists_, body).at("data").is_string());
}

TEST_F(MessageJsonTest, ShowsAMessageThatRepeatsAFewValues) {
  const PropertyListValue text = std::string(100, 'x');
  const OrderedJson shown = json({{"texts", PropertyListValue::Array(200, text)}});
  ASSERT_EQ(shown.at("texts").size(), 200U);
  EXPECT_EQ(shown.at("texts").at(199), std::string(100, 'x'));
}

TEST_F(MessageJsonTest, ShowsTheBytesOfAMessageThatStandsForFarMoreThanItHolds) {
  PropertyListValue value = "x";
  for (int level = 0; level < 60; ++level) {
    value = PropertyListValue::Array{value, value};
  }
  const OrderedJson shown = json({{"bomb", value}});
  EXPECT_EQ(shown.size(), 1U);
  EXPECT_TRUE(shown.at("data").is_string());
}

}  // namespace
}  // namespace korvan::lab
