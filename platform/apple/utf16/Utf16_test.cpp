#include "platform/apple/utf16/Utf16.h"

#include <gtest/gtest.h>

namespace korvan {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

struct Row {
  std::string utf8;
  std::u16string utf16;
};

TEST(Utf16, ATextIsTheSameTextBothWays) {
  const Row rows[] = {
      {"", u""s},
      {"a\0b"s, u"a\0b"s},
      {"\x7F", u"\x7F"s},
      {"\xC2\x80", u"\x80"s},
      {"\xDF\xBF", u"\x7FF"s},
      {"\xE0\xA0\x80", u"\x800"s},
      {"\xED\x9F\xBF", u"\xD7FF"s},
      {"\xEE\x80\x80", u"\xE000"s},
      {"\xEF\xBF\xBF", u"\xFFFF"s},
      {"\xF0\x90\x80\x80", u"\U00010000"s},
      {"\xF4\x8F\xBF\xBF", u"\U0010FFFF"s},
      {"Couldn\xE2\x80\x99t \xF0\x9F\x94\x91", u"Couldn\u2019t \U0001F511"s},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(utf16OfUtf8(row.utf8), row.utf16) << row.utf8;
    EXPECT_EQ(utf8OfUtf16(row.utf16), row.utf8);
  }
}

TEST(Utf16, AByteOrderMarkIsACharacterWhereverItStands) {
  for (const Row& row : {Row{"\xEF\xBB\xBF", u"\xFEFF"s},
                         Row{"\xEF\xBB\xBF"
                             "a",
                             u"\xFEFF"
                             u"a"s},
                         Row{"a\xEF\xBB\xBF"
                             "b",
                             u"a\xFEFF"
                             u"b"s},
                         Row{"\xEF\xBB\xBF\xEF\xBB\xBF", u"\xFEFF\xFEFF"s}}) {
    EXPECT_EQ(utf16OfUtf8(row.utf8), row.utf16);
    EXPECT_EQ(utf8OfUtf16(row.utf16), row.utf8);
  }
}

TEST(Utf16, HalfOfASurrogatePairBecomesTheReplacementCharacter) {
  const Row rows[] = {
      {"\uFFFD", std::u16string{0xD800}},
      {"\uFFFD", std::u16string{0xDFFF}},
      {"a\uFFFDb", std::u16string{u'a', 0xDBFF, u'b'}},
      {"\uFFFD\uFFFD", std::u16string{0xDC00, 0xD800}},
      {"\uFFFD\U0001F511", std::u16string{0xD83D, 0xD83D, 0xDD11}},
      {"\U0001F511\uFFFD", std::u16string{0xD83D, 0xDD11, 0xDD11}},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(utf8OfUtf16(row.utf16), row.utf8);
  }
}

TEST(Utf16, WhatIsNotUTF8IsNullopt) {
  for (const std::string_view text :
       {"\x80"sv, "\xBF"sv, "\xC0\x80"sv, "\xC1\xBF"sv, "\xE0\x9F\xBF"sv, "\xF0\x8F\xBF\xBF"sv,
        "\xED\xA0\x80"sv, "\xED\xBF\xBF"sv, "\xF4\x90\x80\x80"sv, "\xF8\x88\x80\x80\x80"sv,
        "\xFE"sv, "\xFF"sv, "\xC2"sv, "\xE2\x80"sv, "\xF0\x9F\x94"sv,
        "\xC2"
        "a"sv,
        "\xE2\x80"
        "a"sv,
        "a\xC2\xC2"sv}) {
    EXPECT_EQ(utf16OfUtf8(text), std::nullopt) << testing::PrintToString(text);
  }
}

}  // namespace
}  // namespace korvan
