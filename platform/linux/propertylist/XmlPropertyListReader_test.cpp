#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
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

PropertyListValue valueOfXml(const std::string& xml) {
  const auto value = readXmlPropertyList(dataOf(xml));
  if (!value) {
    ADD_FAILURE() << xml << "\n" << value.error().localizedDescription.value_or("no description");
    return {};
  }
  return *value;
}

std::string errorOfXml(const std::string& xml) {
  const auto value = readXmlPropertyList(dataOf(xml));
  return value ? "no error" : value.error().localizedDescription.value_or("no description");
}

std::string xmlDamagedAt(int line, int column, const std::string& what) {
  return "The XML property list is damaged at line " + std::to_string(line) + ", column " +
         std::to_string(column) + ": " + what + '.';
}

std::string repeated(std::string_view text, std::size_t times) {
  std::string result;
  while (times-- > 0) {
    result += text;
  }
  return result;
}

TEST(XmlPropertyListReader, RecognizesTheFormatByItsFirstCharacters) {
  for (const auto* const xml :
       {"<?xml version='1.0'?>", "<!DOCTYPE plist>", "<!-- -->", "<plist>", "<dict/>", "<data>",
        "<date>", "<false/>", "<array>", " \r\n\t<plist>", "<abc def/>"}) {
    EXPECT_TRUE(isXmlPropertyList(xml)) << xml;
  }
  for (const auto* const other :
       {"", "<", "<>", "<ab cd>", "<0badCAFE>", "{a = b;}", "plist", "<ab\n", "// <plist>"}) {
    EXPECT_FALSE(isXmlPropertyList(other)) << other;
  }
}

TEST(XmlPropertyListReader, ReadsEachElement) {
  const std::vector<std::pair<std::string, PropertyListValue>> rows = {
      {"<true/>", true},
      {"<false/>", false},
      {"<true></true>", true},
      {"<integer>-12</integer>", -12},
      {"<real>1.5</real>", 1.5},
      {"<date>2001-01-01T00:00:01Z</date>", PropertyListDate{1}},
      {"<data> AQ\n ID </data>", dataOf("\x01\x02\x03")},
      {"<data/>", Data()},
      {"<string>text</string>", "text"},
      {"<string/>", ""},
      {"<string> a \n b </string>", " a \n b "},
      {"<array/>", Array{}},
      {"<array><string>a</string><true/></array>", Array{"a", true}},
      {"<dict/>", PropertyListDictionary{}},
      {"<dict><key>b</key><true/><key>a</key><integer>1</integer></dict>",
       PropertyListDictionary{{"a", 1}, {"b", true}}},
      {"<dict><key/><array><dict/></array></dict>",
       PropertyListDictionary{{"", Array{PropertyListDictionary()}}}}};
  for (const auto& [xml, expected] : rows) {
    EXPECT_EQ(valueOfXml("<plist>" + xml + "</plist>"), expected) << xml;
    EXPECT_EQ(valueOfXml(xml), expected) << xml;
  }
}

using Rows = std::vector<std::pair<std::string_view, PropertyListValue>>;

/// The value of an element; none when its text stands for none.
std::optional<PropertyListValue> scalarOf(const std::string& element, std::string_view text) {
  const auto value =
      readXmlPropertyList(dataOf("<" + element + ">" + std::string(text) + "</" + element + ">"));
  return value ? std::optional(*value) : std::nullopt;
}

TEST(XmlPropertyListReader, ReadsIntegers) {
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
    EXPECT_EQ(scalarOf("integer", text), expected) << text;
  }
  for (const auto* const text : {"", " ", "-", "+-1", "--1", "1 2", "1.0", "0x", "x", "1x",
                                 "18446744073709551616", "-9223372036854775809"}) {
    EXPECT_EQ(scalarOf("integer", text), std::nullopt) << text;
  }
}

TEST(XmlPropertyListReader, ReadsRealNumbers) {
  constexpr double Infinity = std::numeric_limits<double>::infinity();
  const Rows rows = {{"0", 0.0},         {"1.5", 1.5},      {" -1.5e-3 ", -1.5e-3},
                     {"+.5", 0.5},       {"inf", Infinity}, {"-infinity", -Infinity},
                     {"+INF", Infinity}, {"1E300", 1e300}};
  for (const auto& [text, expected] : rows) {
    EXPECT_EQ(scalarOf("real", text), expected) << text;
  }
  const auto nan = scalarOf("real", "NaN");
  ASSERT_TRUE(nan && nan->real());
  EXPECT_TRUE(std::isnan(*nan->real()));
  for (const auto* const text : {"", "-", "--1", "+-1", "1,5", "1.5x", "0x10", "1e999"}) {
    EXPECT_EQ(scalarOf("real", text), std::nullopt) << text;
  }
}

TEST(XmlPropertyListReader, ReadsDates) {
  const Rows rows = {{"2001-01-01T00:00:00Z", PropertyListDate{0}},
                     {" 2001-01-02T03:04:05Z\n", PropertyListDate{97445}},
                     {"2000-12-31T23:59:59Z", PropertyListDate{-1}},
                     {"1970-01-01T00:00:00Z", PropertyListDate{-978307200}},
                     {"2024-02-29T12:00:00Z", PropertyListDate{730900800}},
                     {"-0001-01-01T00:00:00Z", PropertyListDate{-63177062400}}};
  for (const auto& [text, expected] : rows) {
    EXPECT_EQ(scalarOf("date", text), expected) << text;
  }
  for (const auto* const text :
       {"", "2001-01-01", "2001-01-01T00:00:00", "2001-1-01T00:00:00Z", "2001-01-01T00:00:00+01:00",
        "2023-02-29T00:00:00Z", "2001-13-01T00:00:00Z", "2001-01-01T24:00:00Z",
        "2001-01-01T00:60:00Z", "2001-01-01T00:00:60Z", "2001-01-01T00:00:00Zx",
        "2001-01--1T00:00:00Z", "20010-01-01T00:00:00Z", "2001-01-01 00:00:00Z"}) {
    EXPECT_EQ(scalarOf("date", text), std::nullopt) << text;
  }
}

TEST(XmlPropertyListReader, ReadsBase64) {
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
    EXPECT_EQ(scalarOf("data", text), PropertyListValue(dataOf(expected))) << text;
  }
  for (const std::string_view text : {"Z", "Zg", "Zg=", "Zg===", "Zm9v=", "Zm9vY", "Z===", "====",
                                      "Zg==Zg==", "Zm_v", "Zm-v", "Zm9v!", "\xC3\xA9"}) {
    EXPECT_EQ(scalarOf("data", text), std::nullopt) << text;
  }
}

TEST(XmlPropertyListReader, ReadsADocumentWithAllThatMayStandAroundTheValue) {
  const std::string documentType =
      "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
      "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">";
  EXPECT_EQ(
      valueOfXml("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + documentType +
                 "\n<!-- before -->\n<plist version=\"1.0\">\n\t<!-- in --><?some thing?>\n"
                 "\t<array kind=\"none\">\n\t\t<true/>\n\t</array>\n</plist>\n<!-- after -->\n"),
      PropertyListValue(Array{true}));
  EXPECT_EQ(valueOfXml("\r\n <?xml version=\"1.0\"?><true/>"), PropertyListValue(true));
}

TEST(XmlPropertyListReader, ReadsEntitiesCharacterDataAndComments) {
  EXPECT_EQ(valueOfXml("<string>&lt;&gt;&amp;&apos;&quot;&#65;&#x20AC;&#x1F511;</string>"),
            PropertyListValue("<>&'\"A\xE2\x82\xAC\xF0\x9F\x94\x91"));
  EXPECT_EQ(valueOfXml("<string>a<![CDATA[<&amp;>]]>b<!-- c -->d</string>"),
            PropertyListValue("a<&amp;>bd"));
  EXPECT_EQ(valueOfXml("<dict><key>a<!-- -->&amp;</key><true/></dict>"),
            PropertyListValue(PropertyListDictionary{{"a&", true}}));
}

TEST(XmlPropertyListReader, ReadsAKeyedArchiversReferenceNumber) {
  EXPECT_EQ(valueOfXml("<dict><key>CF$UID</key><integer>7</integer></dict>"),
            PropertyListValue(PropertyListUid{7}));
  for (const auto* const other :
       {"<dict><key>CF$UID</key><integer>-1</integer></dict>",
        "<dict><key>CF$UID</key><integer>4294967296</integer></dict>",
        "<dict><key>CF$UID</key><string>1</string></dict>", "<dict><key>x</key><true/></dict>",
        "<dict><key>CF$UID</key><integer>1</integer><key>x</key><true/></dict>"}) {
    EXPECT_NE(valueOfXml(other).dictionary(), nullptr) << other;
  }
}

TEST(XmlPropertyListReader, CountsTheLastOfARepeatedKey) {
  EXPECT_EQ(valueOfXml("<dict><key>a</key><false/><key>a</key><true/></dict>"),
            PropertyListValue(PropertyListDictionary{{"a", true}}));
}

TEST(XmlPropertyListReader, RefusesMalformedPropertyListsAndSaysWhere) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"<plist/>", xmlDamagedAt(1, 9, "it holds no value")},
      {"<plist>\n</plist>", xmlDamagedAt(2, 9, "it holds no value")},
      {"<plist><true/><true/></plist>", xmlDamagedAt(1, 15, "a second value follows the first")},
      {"<plist><plist/></plist>",
       xmlDamagedAt(1, 8, "a plist element stands inside another element")},
      {"<array><plist/></array>",
       xmlDamagedAt(1, 8, "a plist element stands inside another element")},
      {"<plist><true/><plist/></plist>",
       xmlDamagedAt(1, 15, "a plist element stands inside another element")},
      {"<array>\n  <set/></array>", xmlDamagedAt(2, 3, "a property list has no such element")},
      {"<string>a<true/></string>",
       xmlDamagedAt(1, 10, "an element stands inside one that holds text")},
      {"<array>\xC3\xA9x</array>", xmlDamagedAt(1, 8, "text stands where an element should")},
      {"<plist>x</plist>", xmlDamagedAt(1, 8, "text stands where an element should")},
      {"<key>a</key>", xmlDamagedAt(1, 1, "a key stands outside a dictionary")},
      {"<array><key>a</key></array>", xmlDamagedAt(1, 8, "a key stands in an array")},
      {"<dict><key>a</key><key>b</key></dict>", xmlDamagedAt(1, 19, "a key follows a key")},
      {"<dict><true/></dict>", xmlDamagedAt(1, 7, "a value in a dictionary has no key before it")},
      {"<dict><string>a</string><true/></dict>",
       xmlDamagedAt(1, 7, "a value in a dictionary has no key before it")},
      {"<dict><key>a</key></dict>", xmlDamagedAt(1, 19, "a key has no value")},
      {"<array><integer>1x</integer></array>",
       xmlDamagedAt(1, 8, "the text of this element must be an integer of at most 64 bits")},
      {"<real>one</real>", xmlDamagedAt(1, 1, "the text of this element must be a real number")},
      {"<date>today</date>",
       xmlDamagedAt(1, 1, "the text of this element must be a date such as 2001-01-01T00:00:00Z")},
      {"<data>A</data>", xmlDamagedAt(1, 1, "the text of this element must be base64")},
      {"<true>1</true>", xmlDamagedAt(1, 1, "the text of this element must be empty")},
      {"<array>", xmlDamagedAt(1, 8, "as XML, no element found")},
      {"<array></dict>", xmlDamagedAt(1, 10, "as XML, mismatched tag")},
      {"<true/>more", xmlDamagedAt(1, 8, "as XML, junk after document element")},
      {"<string>\x01</string>", xmlDamagedAt(1, 9, "as XML, not well-formed (invalid token)")},
      {"<string>&#0;</string>",
       xmlDamagedAt(1, 9, "as XML, reference to invalid character number")}};
  for (const auto& [xml, expected] : rows) {
    EXPECT_EQ(errorOfXml(xml), expected) << xml;
  }
}

TEST(XmlPropertyListReader, RefusesDeclarationsAndEntitiesOfTheDocumentsOwn) {
  const std::string ownDeclarations = "a document type cannot have declarations of its own";
  EXPECT_EQ(errorOfXml("<!DOCTYPE plist [<!ENTITY a \"aaaa\"><!ENTITY b \"&a;&a;\">]>"
                       "<string>&b;</string>"),
            xmlDamagedAt(1, 17, ownDeclarations));
  EXPECT_NE(errorOfXml("<!DOCTYPE plist []><true/>").find(ownDeclarations), std::string::npos);
  EXPECT_EQ(errorOfXml("<string>&nbsp;</string>"), xmlDamagedAt(1, 9, "as XML, undefined entity"));
  EXPECT_EQ(errorOfXml("<!DOCTYPE plist SYSTEM \"file:///etc/passwd\"><string>&own;</string>"),
            xmlDamagedAt(1, 53, "an entity is not one of XML's five"));
}

TEST(XmlPropertyListReader, ReadsAsManyNestedContainersAsTheBound) {
  const auto nested = [](std::size_t depth) {
    return repeated("<array>", depth) + repeated("</array>", depth);
  };
  EXPECT_NE(valueOfXml(nested(MaxPropertyListNesting)).array(), nullptr);
  EXPECT_EQ(errorOfXml(nested(MaxPropertyListNesting + 1)),
            xmlDamagedAt(1, 1 + (7 * 512), "more than 512 containers are nested"));
  EXPECT_EQ(errorOfXml(nested(200'000)),
            xmlDamagedAt(1, 1 + (7 * 512), "more than 512 containers are nested"));
}

}  // namespace
}  // namespace korvan
