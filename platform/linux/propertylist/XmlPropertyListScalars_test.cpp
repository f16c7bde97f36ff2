#include "platform/linux/propertylist/XmlPropertyListScalars.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/Data.h"
#include "platform/linux/propertylist/PropertyListBytes_testing.h"

namespace korvan {
namespace {

using Rows = std::vector<std::pair<std::string_view, PropertyListValue>>;

TEST(XmlPropertyListScalars, ReadsIntegers) {
  const Rows rows = {{"0", 0},
                     {" \t\r\n12 ", 12},
                     {"+12", 12},
                     {"-12", -12},
                     {"007", 7},
                     {"0xFf", 255},
                     {"-0X10", -16},
                     {"9223372036854775807", INT64_MAX},
                     {"-9223372036854775808", INT64_MIN},
                     {"18446744073709551615", UINT64_MAX}};
  for (const auto& [text, expected] : rows) {
    EXPECT_EQ(integerOfXml(text), expected) << text;
  }
  for (const auto* const text : {"", " ", "-", "+-1", "--1", "1 2", "1.0", "0x", "x", "1x",
                                 "18446744073709551616", "-9223372036854775809"}) {
    EXPECT_EQ(integerOfXml(text), std::nullopt) << text;
  }
}

TEST(XmlPropertyListScalars, ReadsRealNumbers) {
  constexpr double Infinity = std::numeric_limits<double>::infinity();
  const Rows rows = {{"0", 0.0},         {"1.5", 1.5},      {" -1.5e-3 ", -1.5e-3},
                     {"+.5", 0.5},       {"inf", Infinity}, {"-infinity", -Infinity},
                     {"+INF", Infinity}, {"1E300", 1e300}};
  for (const auto& [text, expected] : rows) {
    EXPECT_EQ(realOfXml(text), expected) << text;
  }
  const auto nan = realOfXml("NaN");
  ASSERT_TRUE(nan && nan->real());
  EXPECT_TRUE(std::isnan(*nan->real()));
  for (const auto* const text : {"", "-", "--1", "+-1", "1,5", "1.5x", "0x10", "1e999"}) {
    EXPECT_EQ(realOfXml(text), std::nullopt) << text;
  }
}

TEST(XmlPropertyListScalars, ReadsDates) {
  const Rows rows = {{"2001-01-01T00:00:00Z", PropertyListDate{0}},
                     {" 2001-01-02T03:04:05Z\n", PropertyListDate{97445}},
                     {"2000-12-31T23:59:59Z", PropertyListDate{-1}},
                     {"1970-01-01T00:00:00Z", PropertyListDate{-978307200}},
                     {"2024-02-29T12:00:00Z", PropertyListDate{730900800}},
                     {"-0001-01-01T00:00:00Z", PropertyListDate{-63177062400}}};
  for (const auto& [text, expected] : rows) {
    EXPECT_EQ(dateOfXml(text), expected) << text;
  }
  for (const auto* const text :
       {"", "2001-01-01", "2001-01-01T00:00:00", "2001-1-01T00:00:00Z", "2001-01-01T00:00:00+01:00",
        "2023-02-29T00:00:00Z", "2001-13-01T00:00:00Z", "2001-01-01T24:00:00Z",
        "2001-01-01T00:60:00Z", "2001-01-01T00:00:60Z", "2001-01-01T00:00:00Zx",
        "2001-01--1T00:00:00Z", "20010-01-01T00:00:00Z", "2001-01-01 00:00:00Z"}) {
    EXPECT_EQ(dateOfXml(text), std::nullopt) << text;
  }
}

TEST(XmlPropertyListScalars, ReadsBase64) {
  const std::vector<std::pair<std::string_view, std::string_view>> rows = {
      {"", ""},
      {" \n", ""},
      {"Zg==", "f"},
      {"Zm8=", "fo"},
      {"Zm9v", "foo"},
      {"Zm9vYg==", "foob"},
      {" Zm\t9v\r\nYmFy ", "foobar"},
      {"+/+/", "\xFB\xFF\xBF"},
      {"Zg= =", "f"}};
  for (const auto& [text, expected] : rows) {
    EXPECT_EQ(dataOfXml(text), PropertyListValue(dataOf(expected))) << text;
  }
  for (const std::string_view text : {"Z", "Zg", "Zg=", "Zg===", "Zm9v=", "Zm9vY", "Z===", "====",
                                      "Zg==Zg==", "Zm_v", "Zm-v", "Zm9v!", "\xC3\xA9"}) {
    EXPECT_EQ(dataOfXml(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace korvan
