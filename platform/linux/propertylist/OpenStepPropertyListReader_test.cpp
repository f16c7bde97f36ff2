#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/propertylist/PropertyListBytes_testing.h"
#include "platform/linux/propertylist/PropertyListFormats.h"

namespace korvan {
namespace {

using Array = PropertyListValue::Array;
using namespace std::string_view_literals;

PropertyListValue valueOfOpenStep(std::string_view text) {
  const auto value = readOpenStepPropertyList(dataOf(text));
  if (!value) {
    ADD_FAILURE() << text << "\n" << value.error().localizedDescription.value_or("no description");
    return {};
  }
  return *value;
}

std::string errorOfOpenStep(std::string_view text) {
  const auto value = readOpenStepPropertyList(dataOf(text));
  return value ? "no error" : value.error().localizedDescription.value_or("no description");
}

std::string openStepDamagedAt(int line, int column, const std::string& what) {
  return "The property list is neither binary nor XML, and as OpenStep text it is damaged at "
         "line " +
         std::to_string(line) + ", column " + std::to_string(column) + ": " + what + '.';
}

TEST(OpenStepPropertyListReader, ReadsEachKindOfValue) {
  const PropertyListDictionary dictionary{{"a", "1"}, {"b", "2"}};
  const std::vector<std::pair<std::string_view, PropertyListValue>> rows = {
      {"bare", "bare"},
      {"_$/:.-aZ09", "_$/:.-aZ09"},
      {"https://example.com:8080/a.b", "https://example.com:8080/a.b"},
      {R"("quoted text")", "quoted text"},
      {R"('it is "quoted"')", R"(it is "quoted")"},
      {R"("")", ""},
      {"<>", Data()},
      {"<0a1B c3\n\tD4>", dataOf("\x0A\x1B\xC3\xD4")},
      {"()", Array{}},
      {"( a,\"b\" , <01> )", Array{"a", "b", dataOf("\x01")}},
      {"(a,b,)", Array{"a", "b"}},
      {"((a),())", Array{Array{"a"}, Array{}}},
      {"{}", PropertyListDictionary{}},
      {"{a=1;b=2;}", dictionary},
      {R"({ "b" = 2 ; 'a' = "1" ; })", dictionary},
      {"{a = {b = (c);};}",
       PropertyListDictionary{{"a", PropertyListDictionary{{"b", Array{"c"}}}}}},
      {"{key;}", PropertyListDictionary{{"key", "key"}}}};
  for (const auto& [text, expected] : rows) {
    EXPECT_EQ(valueOfOpenStep(text), expected) << text;
    EXPECT_EQ(valueOfOpenStep(std::string("\n").append(text).append(" ")), expected) << text;
  }
}

TEST(OpenStepPropertyListReader, ReadsTheEntriesOfADictionaryWithoutBraces) {
  EXPECT_EQ(valueOfOpenStep("/* greetings */\n\"hello\" = \"world\";\nbye;\n"),
            PropertyListValue(PropertyListDictionary{{"bye", "bye"}, {"hello", "world"}}));
}

TEST(OpenStepPropertyListReader, TakesNothingButSpaceForAnEmptyDictionary) {
  for (const auto* const text : {" ", "\n\t", "// comment", "/* comment */\xE2\x80\xA8"}) {
    EXPECT_EQ(valueOfOpenStep(text), PropertyListValue(PropertyListDictionary())) << text;
  }
}

TEST(OpenStepPropertyListReader, SkipsCommentsAndSpaceOfEveryKind) {
  EXPECT_EQ(valueOfOpenStep(
                "// (\n( /* , ) */ a // b\r, /**/ b\v\f\xE2\x80\xA8\xE2\x80\xA9 /* ** / */ )"),
            PropertyListValue(Array{"a", "b"}));
}

TEST(OpenStepPropertyListReader, ReadsEscapes) {
  const std::vector<std::pair<std::string_view, std::string_view>> rows = {
      {R"("\a\b\f\n\r\t\v")", "\a\b\f\n\r\t\v"},
      {R"("\"\'\\\q")", "\"'\\q"},
      {R"("a\101\60z\08")",
       "aA0z\0"
       "8"sv},
      {R"("\341\200\377")", "\xC3\x86\xC2\xA0\xEF\xBF\xBD"},
      {R"("\U20ac\U41z\Ue9")",
       "\xE2\x82\xAC"
       "Az\xC3\xA9"},
      {R"("\Ud83d\Udd11")", "\xF0\x9F\x94\x91"},
      {"\"a\\\nb\"", "a\nb"},
      {"\"\\\xC3\xA9\"", "\xC3\xA9"}};
  for (const auto& [text, expected] : rows) {
    EXPECT_EQ(valueOfOpenStep(text), PropertyListValue(expected)) << text;
  }
}

TEST(OpenStepPropertyListReader, ReadsOctalEscapesInTheNextStepEncoding) {
  // https://www.unicode.org/Public/MAPPINGS/VENDORS/NEXT/NEXTSTEP.TXT, from 0x80 to 0xFD.
  const std::string expected =
      "\u00A0ÀÁÂÃÄÅÇÈÉÊËÌÍÎÏÐÑÒÓÔÕÖÙÚÛÜÝÞµ×÷©¡¢£\u2044¥ƒ§¤’“«‹›ﬁﬂ®–†‡·¦¶•‚„”»…‰¬¿"
      "¹\u02CB\u00B4ˆ˜\u00AF˘˙\u00A8²˚\u00B8³˝˛ˇ"
      "—±¼½¾àáâãäåçèéêëìÆíªîïðñŁØŒºòóôõöæùúûıüýłøœßþÿ";
  std::string escapes;
  for (int code = 0x80; code <= 0xFD; ++code) {
    escapes += '\\';
    for (const int digit : {code >> 6, code >> 3 & 7, code & 7}) {
      escapes += static_cast<char>('0' + digit);
    }
  }
  EXPECT_EQ(valueOfOpenStep('"' + escapes + '"'), PropertyListValue(expected));
}

TEST(OpenStepPropertyListReader, CountsTheLastOfARepeatedKey) {
  EXPECT_EQ(valueOfOpenStep("{a=1;\"a\"=2;}"),
            PropertyListValue(PropertyListDictionary{{"a", "2"}}));
}

TEST(OpenStepPropertyListReader, SharesTheCharactersOfTextWithoutEscapes) {
  const Data characters = dataOf("(\"a text that is not a short one\")");
  const auto value = readOpenStepPropertyList(characters);

  ASSERT_TRUE(value && value->array() != nullptr);
  EXPECT_EQ(static_cast<const void*>(value->array()->at(0).text()->view().data()),
            characters.bytes().data() + 2);
}

TEST(OpenStepPropertyListReader, RefusesMalformedPropertyListsAndSaysWhere) {
  const std::string noValue = "no value can begin like this";
  const std::string noKey = "a key cannot begin like this";
  const std::string noItemEnd = "neither a comma nor a closing parenthesis follows an item";
  const std::string noSemicolon = "no semicolon ends a dictionary's entry";
  const std::string noHex = "data holds something other than pairs of hexadecimal digits";
  const std::vector<std::pair<std::string_view, std::string>> rows = {
      {"a b", openStepDamagedAt(1, 3, "more follows the value")},
      {"()\n()", openStepDamagedAt(2, 1, "more follows the value")},
      {"{a=b;};", openStepDamagedAt(1, 7, "more follows the value")},
      {"a=b;=", openStepDamagedAt(1, 5, noKey)},
      {"?", openStepDamagedAt(1, 1, noValue)},
      {"\xC3\xA9", openStepDamagedAt(1, 1, noValue)},
      {"(a\nb)", openStepDamagedAt(2, 1, noItemEnd)},
      {"(,)", openStepDamagedAt(1, 2, noValue)},
      {"(a", openStepDamagedAt(1, 1, "an array is not closed")},
      {" (a,", openStepDamagedAt(1, 2, "an array is not closed")},
      {"{a=b;", openStepDamagedAt(1, 1, "a dictionary is not closed")},
      {"{(a)=b;}", openStepDamagedAt(1, 2, noKey)},
      {"{<00>=b;}", openStepDamagedAt(1, 2, noKey)},
      {"{a=b}", openStepDamagedAt(1, 5, noSemicolon)},
      {"{a b;}", openStepDamagedAt(1, 4, noSemicolon)},
      {"{a=b c;}", openStepDamagedAt(1, 6, noSemicolon)},
      {"{a=;}", openStepDamagedAt(1, 4, noValue)},
      {"{a=", openStepDamagedAt(1, 4, "a value is missing")},
      {"<0>", openStepDamagedAt(1, 2, noHex)},
      {"<0 1>", openStepDamagedAt(1, 2, noHex)},
      {"<00 0>", openStepDamagedAt(1, 5, noHex)},
      {"<0g>", openStepDamagedAt(1, 2, noHex)},
      {"</* > */00>", openStepDamagedAt(1, 2, noHex)},
      {"<*I5>", openStepDamagedAt(1, 2, noHex)},
      {"<00", openStepDamagedAt(1, 1, "data is not closed")},
      {"\"a", openStepDamagedAt(1, 1, "a quoted string is not closed")},
      {"\"a\\", openStepDamagedAt(1, 1, "a quoted string is not closed")},
      {R"("a\")", openStepDamagedAt(1, 1, "a quoted string is not closed")},
      {"a /* b", openStepDamagedAt(1, 3, "a comment is not closed")},
      {R"("\400")", openStepDamagedAt(1, 3, "an octal escape is above 377")},
      {R"("\Ux")", openStepDamagedAt(1, 3, "no hexadecimal digit follows \\U")},
      {R"("\Ud83d")", openStepDamagedAt(1, 3, "an escape is half a surrogate pair")},
      {R"("\Ud83d\U41")", openStepDamagedAt(1, 3, "an escape is half a surrogate pair")},
      {R"("\Udd11\Ud83d")", openStepDamagedAt(1, 3, "an escape is half a surrogate pair")}};
  for (const auto& [text, expected] : rows) {
    EXPECT_EQ(errorOfOpenStep(text), expected) << text;
  }
}

TEST(OpenStepPropertyListReader, ReadsAsManyNestedContainersAsTheBound) {
  const std::string tooDeep = "more than 512 containers are nested";
  const auto nested = [](std::size_t depth) {
    return std::string(depth, '(') + std::string(depth, ')');
  };
  EXPECT_NE(valueOfOpenStep(nested(MaxPropertyListNesting)).array(), nullptr);
  EXPECT_EQ(errorOfOpenStep(nested(MaxPropertyListNesting + 1)),
            openStepDamagedAt(1, 513, tooDeep));
  EXPECT_EQ(errorOfOpenStep(nested(200'000)), openStepDamagedAt(1, 513, tooDeep));
  std::string dictionaries;
  for (std::size_t depth = 0; depth < 200'000; ++depth) {
    dictionaries += "{a=";
  }
  EXPECT_EQ(errorOfOpenStep(dictionaries), openStepDamagedAt(1, 1 + (3 * 512), tooDeep));
}

TEST(OpenStepPropertyListReader, GivesAValueOrAnErrorWhereverCharactersAreMissingOrChanged) {
  const std::string text =
      "// c\n{ a = (b, \"c\\n\\101\\U20ac\\Ud83d\\Udd11\", <00 ff>); 'd' = {e; f = /* g */ h;}; }";
  ASSERT_NE(valueOfOpenStep(text).dictionary(), nullptr);
  for (std::size_t size = 0; size < text.size(); ++size) {
    for (const char other : {'(', '}', '"', '\\', '<', ';', '/', '\0'}) {
      std::string changed = text;
      changed[size] = other;
      for (const auto& candidate : {changed, text.substr(0, size)}) {
        const auto value = readOpenStepPropertyList(dataOf(candidate));
        EXPECT_TRUE(value || !value.error().localizedDescription->empty());
      }
    }
  }
}

}  // namespace
}  // namespace korvan
