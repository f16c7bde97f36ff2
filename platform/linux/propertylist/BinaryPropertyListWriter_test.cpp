#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/propertylist/BinaryPropertyListFormat.h"
#include "platform/linux/propertylist/PropertyListBytes_testing.h"
#include "platform/linux/propertylist/PropertyListFormats.h"

namespace korvan {
namespace {

using Array = PropertyListValue::Array;
using namespace std::string_literals;
using namespace std::string_view_literals;

constexpr std::size_t TrailerSize = binaryPropertyList::TrailerSize;

std::string encoded(const PropertyListDictionary& root) {
  const auto bytes = writeBinaryPropertyList(root, HashSecret);
  if (!bytes) {
    ADD_FAILURE() << bytes.error().localizedDescription.value_or("no description");
    return {};
  }
  return {bytes->bytes().begin(), bytes->bytes().end()};
}

std::string encodedValue(const PropertyListValue& value) { return encoded({{"k", value}}); }

std::string errorOfWriting(const PropertyListDictionary& root) {
  const auto bytes = writeBinaryPropertyList(root, HashSecret);
  return bytes ? "no error" : bytes.error().localizedDescription.value_or("no description");
}

PropertyListValue decoded(const PropertyListDictionary& root) {
  const auto bytes = writeBinaryPropertyList(root, HashSecret);
  const auto value = readBinaryPropertyList(bytes.value_or(Data()));
  return value ? *value : PropertyListValue();
}

/// How often `part` stands in `whole`.
std::size_t countOf(std::string_view part, std::string_view whole) {
  std::size_t count = 0;
  for (auto at = whole.find(part); at != std::string_view::npos; at = whole.find(part, at + 1)) {
    ++count;
  }
  return count;
}

std::size_t objectCountOf(std::string_view bytes) {
  std::size_t count = 0;
  for (const char byte : bytes.substr(bytes.size() - 24, 8)) {
    count = (count << 8) | static_cast<std::uint8_t>(byte);
  }
  return count;
}

std::size_t offsetWidthOf(std::string_view bytes) {
  return static_cast<std::uint8_t>(bytes[bytes.size() - TrailerSize + 6]);
}

std::size_t referenceWidthOf(std::string_view bytes) {
  return static_cast<std::uint8_t>(bytes[bytes.size() - TrailerSize + 7]);
}

PropertyListValue nestedArrays(std::size_t count) {
  PropertyListValue value(Array{});
  for (std::size_t depth = 1; depth < count; ++depth) {
    value = Array{value};
  }
  return value;
}

Array distinctIntegers(int count) {
  Array items;
  for (int index = 0; index < count; ++index) {
    items.emplace_back(index);
  }
  return items;
}

TEST(BinaryPropertyListWriter, WritesHeaderObjectsOffsetTableAndTrailer) {
  EXPECT_EQ(encoded({{"ok", true}}),
            "bplist00"
            "\xD1\x01\x02"
            "\x52ok"
            "\x09"
            "\x08\x0B\x0E"
            "\0\0\0\0\0\0\x01\x01"
            "\0\0\0\0\0\0\0\x03"
            "\0\0\0\0\0\0\0\0"
            "\0\0\0\0\0\0\0\x0F"sv);
}

TEST(BinaryPropertyListWriter, WritesAnEmptyDictionary) {
  EXPECT_EQ(encoded({}),
            "bplist00\xD0\x08"
            "\0\0\0\0\0\0\x01\x01"
            "\0\0\0\0\0\0\0\x01"
            "\0\0\0\0\0\0\0\0"
            "\0\0\0\0\0\0\0\x09"sv);
}

TEST(BinaryPropertyListWriter, WritesEachKindInItsSmallestForm) {
  const std::vector<std::pair<PropertyListValue, std::string>> rows = {
      {false, "\x08"},
      {true, "\x09"},
      {0, "\x10\0"s},
      {255, "\x10\xFF"},
      {256, "\x11\x01\0"s},
      {65535, "\x11\xFF\xFF"},
      {65536, "\x12\0\x01\0\0"s},
      {std::uint32_t{UINT32_MAX}, "\x12\xFF\xFF\xFF\xFF"},
      {std::uint64_t{UINT32_MAX} + 1, "\x13\0\0\0\x01\0\0\0\0"s},
      {INT64_MAX, "\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"},
      {-1, "\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"},
      {INT64_MIN, "\x13\x80\0\0\0\0\0\0\0"s},
      {UINT64_MAX, "\x14\0\0\0\0\0\0\0\0\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s},
      {1.5, "\x23\x3F\xF8\0\0\0\0\0\0"s},
      {PropertyListDate{-1.0}, "\x33\xBF\xF0\0\0\0\0\0\0"s},
      {PropertyListUid{5}, "\x80\x05"},
      {PropertyListUid{0x0102}, "\x81\x01\x02"},
      {PropertyListUid{0x10000}, "\x83\0\x01\0\0"s},
      {PropertyListUid{UINT64_MAX}, "\x87\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"},
      {dataOf("ab"), object(0x42, "ab")},
      {dataOf(""), object(0x40)},
      {dataOf("123456789012345"),
       "\x4F\x10\x0F"
       "123456789012345"},
      {"", object(0x50)},
      {"text", object(0x54, "text")},
      {"\xC3\xA9", "\x61\0\xE9"s},
      {"A\xF0\x9F\x94\x91", "\x63\0A\xD8\x3D\xDD\x11"s},
      {Array{}, "\xA0"},
      {PropertyListDictionary{}, "\xD0"}};
  for (const auto& [value, expected] : rows) {
    const std::string bytes = encodedValue(value);
    // Behind the magic, the dictionary of one pair, and its key.
    const std::size_t start = 8 + 3 + 2;
    const std::size_t end = bytes.size() - TrailerSize - 3;
    EXPECT_EQ(bytes.substr(start, end - start), expected);
  }
}

TEST(BinaryPropertyListWriter, WritesTheCountOfALongTextInItsSmallestForm) {
  EXPECT_EQ(countOf("\x5F\x10\x0F", encodedValue(std::string(15, 'a'))), 1U);
  EXPECT_EQ(countOf("\x5F\x11\x01\0"sv, encodedValue(std::string(256, 'a'))), 1U);
  EXPECT_EQ(countOf("\x5F\x12\0\x01\0\0"sv, encodedValue(std::string(65536, 'a'))), 1U);
}

TEST(BinaryPropertyListWriter, WritesTheSameBytesForEqualPropertyLists) {
  EXPECT_EQ(encoded({{"a", 1}, {"b", "x"}}), encoded({{"b", "x"}, {"a", 1}}));
}

TEST(BinaryPropertyListWriter, WritesEqualScalarsOnce) {
  const std::string text = "the same text";
  const std::string bytes =
      encoded({{"a", Array{text, text, dataOf(text)}}, {"b", Array{text, 7, 7, 1.5, 1.5}}});

  EXPECT_EQ(countOf(text, bytes), 2U) << "once as a text and once as data";
  // The root, two keys, two arrays, the text, the data, 7 and 1.5.
  EXPECT_EQ(objectCountOf(bytes), 9U);
}

TEST(BinaryPropertyListWriter, WritesAKeyAndAnEqualValueOnce) {
  const std::string bytes = encoded({{"type", "type"}});

  EXPECT_EQ(countOf("type", bytes), 1U);
  EXPECT_EQ(objectCountOf(bytes), 2U);
}

TEST(BinaryPropertyListWriter, KeepsApartWhatOnlyLooksAlike) {
  const PropertyListDictionary root{
      {"items", Array{1, 1.0, true, PropertyListDate{1.0}, PropertyListUid{1}, 0, false, 0.0, -0.0,
                      "1", dataOf("1"), Array{}, PropertyListDictionary{}}}};

  EXPECT_EQ(objectCountOf(encoded(root)), 3U + 13U);
  EXPECT_EQ(decoded(root), PropertyListValue(root));
}

TEST(BinaryPropertyListWriter, WritesContainersThatShareTheirStorageOnce) {
  PropertyListValue value(Array{"leaf"});
  for (int level = 0; level < 60; ++level) {
    value = Array{value, value};
  }
  const std::string bytes = encodedValue(value);

  // The root and its key, 61 arrays, the leaf.
  EXPECT_EQ(objectCountOf(bytes), 64U);
  EXPECT_LT(bytes.size(), 400U);
}

TEST(BinaryPropertyListWriter, UsesTheNarrowestReferencesThatHoldTheNumberOfObjects) {
  // Besides the integers there are the root, its key and the array.
  EXPECT_EQ(referenceWidthOf(encodedValue(distinctIntegers(252))), 1U);
  EXPECT_EQ(referenceWidthOf(encodedValue(distinctIntegers(253))), 2U);
  EXPECT_EQ(referenceWidthOf(encodedValue(distinctIntegers(65532))), 2U);
  EXPECT_EQ(referenceWidthOf(encodedValue(distinctIntegers(65533))), 3U);
}

TEST(BinaryPropertyListWriter, UsesTheNarrowestOffsetsThatHoldTheTablesOffset) {
  // Before the table: the magic, the dictionary, the key, and the data behind its head.
  const std::size_t before = 8 + 3 + 2;
  EXPECT_EQ(offsetWidthOf(encodedValue(dataOf(std::string(255 - before - 3, 'x')))), 1U);
  EXPECT_EQ(offsetWidthOf(encodedValue(dataOf(std::string(256 - before - 3, 'x')))), 2U);
  EXPECT_EQ(offsetWidthOf(encodedValue(dataOf(std::string(65535 - before - 4, 'x')))), 2U);
  EXPECT_EQ(offsetWidthOf(encodedValue(dataOf(std::string(65536 - before - 4, 'x')))), 3U);
}

TEST(BinaryPropertyListWriter, WritesWhatTheReaderReadsBack) {
  const PropertyListDictionary root{
      {"type", "assertion"},
      {"number", Array{-1, 0, 300, 70000, INT64_MIN, INT64_MAX, UINT64_MAX, 2.5}},
      {"\xE2\x82\xAC\xF0\x9F\x94\x91", "gr\xC3\xBC\xC3\x9F"},
      {"dates", Array{PropertyListDate{0.5}, PropertyListUid{70000}}},
      {"nested", PropertyListDictionary{{"list", Array{Array{}, dataOf("bytes")}}}},
      {"many", distinctIntegers(70000)}};

  EXPECT_EQ(decoded(root), PropertyListValue(root));
}

TEST(BinaryPropertyListWriter, RefusesNullAndNamesItsPlace) {
  const PropertyListValue null;

  EXPECT_EQ(errorOfWriting({{"allowedCredentials", Array{1, 2, 3, null}}}),
            R"(The value at "allowedCredentials[3]" is null, which a property list cannot hold.)");
  EXPECT_EQ(errorOfWriting({{"type", null}}),
            R"(The value at "type" is null, which a property list cannot hold.)");
  EXPECT_EQ(
      errorOfWriting(
          {{"a", Array{PropertyListDictionary{{"b", Array{PropertyListValue(Array{null})}}}}}}),
      R"(The value at "a[0].b[0][0]" is null, which a property list cannot hold.)");
}

TEST(BinaryPropertyListWriter, RefusesASetAndNamesItsPlace) {
  EXPECT_EQ(errorOfWriting({{"a", PropertyListValue::setOf({1})}}),
            R"(The value at "a" is a set, which a property list cannot hold.)");
}

TEST(BinaryPropertyListWriter, ShortensALongPathToTheProblem) {
  const Text longKey(std::string(150, 'k'));
  const PropertyListDictionary inner{{longKey, PropertyListValue()}};

  EXPECT_EQ(errorOfWriting({{longKey, inner}}),
            "The value at \"" + std::string(150, 'k') +
                "...\" is null, which a property list cannot hold.");
}

TEST(BinaryPropertyListWriter, RefusesTextThatIsNotUtf8AndNamesItsPlace) {
  const std::vector<std::string_view> rows = {
      "\x80",              // a following byte alone
      "\xC3",              // nothing follows
      "\xC3\x28",          // not a continuation byte
      "\xC0\x80",          // two bytes for what fits in one
      "\xE0\x80\xAF",      // three bytes for what fits in one
      "\xF0\x82\x82\xAC",  // four bytes for what fits in three
      "\xED\xA0\x80",      // a surrogate
      "\xF4\x90\x80\x80",  // above the last code point
      "\xF5\x80\x80\x80",  // no text has this byte
      "\xE2\x82",          // cut off
      "long and plain before \xFF"};
  for (const auto text : rows) {
    EXPECT_EQ(errorOfWriting({{"a", Array{"good", Text(text)}}}),
              R"(The text at "a[1]" is not valid UTF-8.)")
        << testing::PrintToString(text);
  }
}

TEST(BinaryPropertyListWriter, TakesTheFirstAndLastCodePointOfEachLength) {
  const PropertyListDictionary root{
      {"a",
       "\x01\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"
       "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"}};

  EXPECT_EQ(decoded(root), PropertyListValue(root));
}

TEST(BinaryPropertyListWriter, RefusesAKeyThatIsNotUtf8AndNamesItsDictionary) {
  const PropertyListDictionary bad{{Text("\xFF"), 1}};

  EXPECT_EQ(errorOfWriting(bad), "A key of the dictionary at the root is not valid UTF-8.");
  EXPECT_EQ(errorOfWriting({{"a", Array{bad}}}),
            R"(A key of the dictionary at "a[0]" is not valid UTF-8.)");
}

TEST(BinaryPropertyListWriter, WritesAsManyNestedContainersAsTheReaderTakes) {
  const PropertyListDictionary root{{"a", nestedArrays(MaxPropertyListNesting - 1)}};

  EXPECT_EQ(decoded(root), PropertyListValue(root));
}

TEST(BinaryPropertyListWriter, RefusesContainersNestedDeeper) {
  const std::string error = errorOfWriting({{"a", nestedArrays(MaxPropertyListNesting)}});

  EXPECT_TRUE(error.starts_with("The value at \"a[0][0]")) << error;
  EXPECT_TRUE(error.ends_with("is part of a nesting of more than 512 arrays and dictionaries."))
      << error;
}

TEST(BinaryPropertyListWriter, RefusesDeepNestingThatIsMetPieceByPiece) {
  // Each array is met before the one that holds it, so that none is ever far from the root.
  Array all = {PropertyListValue(Array{})};
  for (std::size_t depth = 0; depth < MaxPropertyListNesting; ++depth) {
    all.emplace_back(Array{all.back()});
  }

  EXPECT_NE(errorOfWriting({{"a", all}}).find("more than 512"), std::string::npos);
}

TEST(BinaryPropertyListWriter, WritesTextsThatBeginAndEndAlikeOnceEach) {
  Array items;
  for (int number = 1'000; number < 2'000; ++number) {
    items.emplace_back(std::string(64, 'a') + std::to_string(number) + std::string(64, 'z'));
  }
  const PropertyListDictionary root{{"items", Array{items, Array(items)}}};
  const std::string bytes = encoded(root);

  EXPECT_EQ(countOf("a1000z", bytes), 1U);
  EXPECT_EQ(objectCountOf(bytes), 2U + 3U + 1'000U);
  EXPECT_EQ(decoded(root), PropertyListValue(root));
}

}  // namespace
}  // namespace korvan
