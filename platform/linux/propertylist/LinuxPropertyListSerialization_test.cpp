#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/propertylist/PropertyListBytes_testing.h"

namespace korvan {
namespace {

using namespace std::string_literals;

TEST(LinuxPropertyListSerialization, DecodesWhatItEncodes) {
  const LinuxPropertyListSerialization serialization;
  const PropertyListDictionary message{{"ok", true}, {"userHandle", dataOf("user")}};
  const auto bytes = serialization.encodeBinary(message);
  ASSERT_TRUE(bytes.has_value());

  EXPECT_EQ(serialization.decode(*bytes).value_or(PropertyListValue()), PropertyListValue(message));
}

TEST(LinuxPropertyListSerialization, SaysWhyItCannotEncode) {
  const auto bytes = LinuxPropertyListSerialization().encodeBinary({{"type", PropertyListValue()}});

  ASSERT_FALSE(bytes.has_value());
  EXPECT_EQ(bytes.error().localizedDescription,
            R"(The value at "type" is null, which a property list cannot hold.)");
}

TEST(LinuxPropertyListSerialization, SaysWhereABinaryPropertyListIsDamaged) {
  const auto value = LinuxPropertyListSerialization().decode(dataOf("bplist00"));

  ASSERT_FALSE(value.has_value());
  EXPECT_EQ(value.error().localizedDescription,
            "The binary property list is damaged at byte 8: it ends before its trailer is "
            "complete.");
}

TEST(LinuxPropertyListSerialization, TellsTheFormatByLooking) {
  const PropertyListValue expected(PropertyListDictionary{{"a", "b"}});
  const std::vector<std::string> rows = {
      "bplist00\xD1\x01\x02\x51"
      "a\x51"
      "b\x08\x0B\x0D"s +
          std::string(6, '\0') + "\1\1"s + "\0\0\0\0\0\0\0\3"s + std::string(8, '\0') +
          "\0\0\0\0\0\0\0\x0F"s,
      "<dict><key>a</key><string>b</string></dict>",
      "\xEF\xBB\xBF<dict><key>a</key><string>b</string></dict>",
      "\xFF\xFE<\0d\0i\0c\0t\0>\0<\0k\0e\0y\0>\0a\0<\0/\0k\0e\0y\0>\0<\0s\0t\0r\0i\0n\0g\0>\0"
      "b\0<\0/\0s\0t\0r\0i\0n\0g\0>\0<\0/\0d\0i\0c\0t\0>\0"s,
      "{a = b;}",
      "// comment\n{a = b;}",
      "\xFE\xFF\0{\0a\0=\0b\0;\0}"s};
  for (const auto& bytes : rows) {
    const auto value = LinuxPropertyListSerialization().decode(dataOf(bytes));

    ASSERT_TRUE(value.has_value()) << bytes << *value.error().localizedDescription;
    EXPECT_EQ(*value, expected) << bytes;
  }
}

TEST(LinuxPropertyListSerialization, SaysWhatIsWrongInTheFormatThatTheBytesAnnounce) {
  const std::vector<std::pair<std::string_view, std::string>> rows = {
      {"", "There are no bytes to read a property list from."},
      {"bplist01",
       "The binary property list is damaged at byte 8: it ends before its trailer is complete."},
      {"<dict>", "The XML property list is damaged at line 1, column 7: as XML, no element found."},
      {"<",
       "The property list is neither binary nor XML, and as OpenStep text it is damaged at line 1, "
       "column 1: data is not closed."},
      {"\x01\x02",
       "The property list is neither binary nor XML, and as OpenStep text it is damaged at line 1, "
       "column 1: no value can begin like this."},
      {"a\xFF",
       "The bytes are not a property list: at line 1, column 2, a character is not valid UTF-8."},
      {"\xFF\xFE\x3D",
       "The bytes are not a property list: at line 1, column 1, a character is not valid UTF-16."}};
  for (const auto& [bytes, expected] : rows) {
    const auto value = LinuxPropertyListSerialization().decode(dataOf(bytes));

    ASSERT_FALSE(value.has_value()) << testing::PrintToString(bytes);
    EXPECT_EQ(value.error().localizedDescription, expected);
  }
}

}  // namespace
}  // namespace korvan
