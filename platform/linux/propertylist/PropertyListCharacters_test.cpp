#include "platform/linux/propertylist/PropertyListCharacters.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/propertylist/PropertyListBytes_testing.h"

namespace korvan {
namespace {

using namespace std::string_literals;

std::string errorOfCharacters(std::string_view bytes) {
  const auto characters = propertyListCharacters(dataOf(bytes));
  return characters ? "no error" : characters.error().localizedDescription.value_or("");
}

TEST(PropertyListCharacters, ReadsUtf8AndUtf16WithAByteOrderMark) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"", ""},
      {"a\xC3\xA9", "a\xC3\xA9"},
      {"\xEF\xBB\xBF"s + "a\xC3\xA9", "a\xC3\xA9"},
      {"\xEF\xBB\xBF", ""},
      {"\xFE\xFF\0a\x20\xAC\xD8\x3D\xDD\x11"s, "a\xE2\x82\xAC\xF0\x9F\x94\x91"},
      {"\xFF\xFE"s + "a\0\xAC\x20\x3D\xD8\x11\xDD"s, "a\xE2\x82\xAC\xF0\x9F\x94\x91"},
      {"\xFE\xFF", ""}};
  for (const auto& [bytes, expected] : rows) {
    const auto characters = propertyListCharacters(dataOf(bytes));
    ASSERT_TRUE(characters.has_value()) << testing::PrintToString(bytes);
    EXPECT_EQ(viewOf(*characters), expected);
  }
}

TEST(PropertyListCharacters, SharesTheBytesOfUtf8) {
  const Data bytes = dataOf(
      "\xEF\xBB\xBF"
      "a = b;");

  EXPECT_EQ(propertyListCharacters(bytes)->bytes().data(), bytes.bytes().data() + 3);
}

TEST(PropertyListCharacters, RefusesWhatIsNotTextAndSaysWhere) {
  const std::string utf8 = ", a character is not valid UTF-8.";
  const std::string utf16 = ", a character is not valid UTF-16.";
  const std::string prefix = "The bytes are not a property list: at line 1, column ";
  EXPECT_EQ(errorOfCharacters("ab\xFF"), prefix + "3" + utf8);
  EXPECT_EQ(errorOfCharacters("\xEF\xBB\xBF\xC3"), prefix + "1" + utf8);
  EXPECT_EQ(errorOfCharacters("\xED\xA0\x80"), prefix + "1" + utf8);
  EXPECT_EQ(errorOfCharacters("\xFE\xFF\0a\xD8\x3D"s), prefix + "2" + utf16);
  EXPECT_EQ(errorOfCharacters("\xFE\xFF\xDD\x11"), prefix + "1" + utf16);
  EXPECT_EQ(errorOfCharacters("\xFF\xFE"s + "a\0\x3D\xD8z\0"s), prefix + "2" + utf16);
  EXPECT_EQ(errorOfCharacters("\xFE\xFF\0"s), prefix + "1" + utf16);
  EXPECT_EQ(errorOfCharacters("a\n\xC3\xA9\xFF"),
            "The bytes are not a property list: at line 2, column 2" + utf8);
}

TEST(PropertyListCharacters, CountsLinesAndColumnsFromOne) {
  const std::string_view text =
      "ab\ncd\r\ne\xC3\xA9"
      "f\rg";
  const std::vector<std::pair<std::size_t, std::string>> rows = {
      {0, "line 1, column 1"},  {2, "line 1, column 3"},  {3, "line 2, column 1"},
      {7, "line 3, column 1"},  {10, "line 3, column 3"}, {12, "line 4, column 1"},
      {13, "line 4, column 2"}, {99, "line 4, column 2"}};
  for (const auto& [offset, expected] : rows) {
    EXPECT_EQ(placeIn(text, offset), expected) << offset;
  }
}

}  // namespace
}  // namespace korvan
