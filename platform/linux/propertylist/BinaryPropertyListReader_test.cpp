#include <cstddef>
#include <cstdint>
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
using namespace std::string_literals;

std::string bigEndian(std::uint64_t number, std::size_t width) {
  std::string bytes;
  while (width-- > 0) {
    bytes += static_cast<char>(number >> (8 * width));
  }
  return bytes;
}

/// A binary property list put together from encoded objects, with any part of it made wrong.
struct Parts {
  std::vector<std::string> objects;
  std::size_t offsetWidth = 1;
  std::size_t referenceWidth = 1;
  std::uint64_t top = 0;

  [[nodiscard]] std::string bytes() const {
    std::string result = "bplist00";
    std::string table;
    for (const auto& object : objects) {
      table += bigEndian(result.size(), offsetWidth);
      result += object;
    }
    return result + table + trailer(objects.size(), result.size());
  }

  [[nodiscard]] std::string trailer(std::uint64_t count, std::uint64_t tableOffset) const {
    return std::string(6, '\0') + bigEndian(offsetWidth, 1) + bigEndian(referenceWidth, 1) +
           bigEndian(count, 8) + bigEndian(top, 8) + bigEndian(tableOffset, 8);
  }
};

PropertyListValue valueOf(const std::string& bytes) {
  const auto value = readBinaryPropertyList(dataOf(bytes));
  if (!value) {
    ADD_FAILURE() << value.error().localizedDescription.value_or("no description");
    return {};
  }
  return *value;
}

PropertyListValue valueOfObjects(const std::vector<std::string>& objects) {
  return valueOf(Parts{.objects = objects}.bytes());
}

std::string errorOf(const std::string& bytes) {
  const auto value = readBinaryPropertyList(dataOf(bytes));
  return value ? "no error" : value.error().localizedDescription.value_or("no description");
}

std::string errorOfObjects(const std::vector<std::string>& objects) {
  return errorOf(Parts{.objects = objects}.bytes());
}

std::string damagedAt(std::size_t offset, const std::string& what) {
  return "The binary property list is damaged at byte " + std::to_string(offset) + ": " + what +
         '.';
}

/// The head of an object whose count is in a four-byte integer.
std::string longHead(char marker, std::size_t count) {
  return std::string(1, static_cast<char>(marker | 0x0F)) + '\x12' + bigEndian(count, 4);
}

TEST(BinaryPropertyListReader, RecognizesTheFormatByItsFirstBytes) {
  EXPECT_TRUE(isBinaryPropertyList(dataOf("bplist00")));
  EXPECT_TRUE(isBinaryPropertyList(dataOf("bplist00...")));
  EXPECT_TRUE(isBinaryPropertyList(dataOf("bplist01...")));
  EXPECT_FALSE(isBinaryPropertyList(dataOf("bplis")));
  EXPECT_FALSE(isBinaryPropertyList(Data()));
}

TEST(BinaryPropertyListReader, ReadsEachKindOfObject) {
  const std::vector<std::pair<std::string, PropertyListValue>> rows = {
      {"\0"s, PropertyListValue()},
      {"\x08", false},
      {"\x09", true},
      {"\x10\xFF"s, 255},
      {"\x11\x01\x02"s, 0x0102},
      {"\x12\xFF\xFF\xFF\xFF"s, std::uint32_t{UINT32_MAX}},
      {"\x13\0\0\0\x01\0\0\0\0"s, std::int64_t{1} << 32},
      {"\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFE"s, -2},
      {"\x14\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x05"s, 5},
      {"\x14\0\0\0\0\0\0\0\0\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s, UINT64_MAX},
      {"\x14\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x80\0\0\0\0\0\0\0"s, INT64_MIN},
      {"\x22\x3F\xC0\0\0"s, 1.5},
      {"\x23\x3F\xF8\0\0\0\0\0\0"s, 1.5},
      {"\x33\xBF\xF0\0\0\0\0\0\0"s, PropertyListDate{-1.0}},
      {object(0x40), Data()},
      {"\x43\x01\xFF\x02"s, dataOf("\x01\xFF\x02")},
      {object(0x50), ""},
      {object(0x54, "text"), "text"},
      {object(0x60), ""},
      {"\x62\0A\x20\xAC"s, "A\xE2\x82\xAC"},
      {"\x62\xD8\x3D\xDD\x11"s, "\xF0\x9F\x94\x91"},
      {"\x80\x05"s, PropertyListUid{5}},
      {"\x82\x01\x02\x03"s, PropertyListUid{0x010203}},
      {"\x87\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s, PropertyListUid{UINT64_MAX}},
      {"\xA0", Array{}},
      {"\xC0", PropertyListValue::setOf({})},
      {"\xD0", PropertyListDictionary{}}};
  for (const auto& [encoded, expected] : rows) {
    EXPECT_EQ(valueOfObjects({encoded}), expected) << testing::PrintToString(encoded);
  }
}

TEST(BinaryPropertyListReader, ReadsArraysAndDictionariesThroughReferences) {
  EXPECT_EQ(valueOfObjects({"\xA3\x01\x02\x01", "\x09", object(0x51, "x")}),
            PropertyListValue(Array{true, "x", true}));
  EXPECT_EQ(valueOfObjects(
                {"\xD2\x01\x03\x02\x04", object(0x51, "z"), "\x09", object(0x51, "y"), "\x08"}),
            PropertyListValue(PropertyListDictionary{{"y", false}, {"z", true}}));
}

TEST(BinaryPropertyListReader, ReadsASetAsNoArray) {
  const PropertyListValue set = valueOfObjects({"\xC2\x01\x02", "\x09", "\x08"});

  ASSERT_NE(set.set(), nullptr);
  EXPECT_EQ(*set.set(), Array({true, false}));
  EXPECT_EQ(set.array(), nullptr);
  EXPECT_NE(set, PropertyListValue(Array{true, false}));
}

TEST(BinaryPropertyListReader, BeginsWithTheTopObject) {
  EXPECT_EQ(valueOf(Parts{.objects = {object(0x51, "x"), object(0x51, "y")}, .top = 1}.bytes()),
            PropertyListValue("y"));
}

TEST(BinaryPropertyListReader, ReadsACountThatFollowsInAnInteger) {
  const std::string text(15, 'x');
  for (const std::string& count :
       {"\x10\x0F"s, "\x11\0\x0F"s, "\x12\0\0\0\x0F"s, "\x13\0\0\0\0\0\0\0\x0F"s}) {
    EXPECT_EQ(valueOfObjects({object(0x5F, count).append(text)}), PropertyListValue(text));
  }
}

TEST(BinaryPropertyListReader, ReadsOffsetsAndReferencesOfAnyWidth) {
  for (std::size_t width = 1; width <= 8; ++width) {
    const std::string array = object(0xA2, bigEndian(1, width) + bigEndian(2, width));
    const Parts parts{.objects = {array, object(0x51, "x"), "\x09"},
                      .offsetWidth = width,
                      .referenceWidth = width};
    EXPECT_EQ(valueOf(parts.bytes()), PropertyListValue(Array{"x", true})) << width;
  }
}

TEST(BinaryPropertyListReader, SharesDataAndAsciiTextWithTheBytes) {
  const Data bytes =
      dataOf(Parts{.objects = {"\xA2\x01\x02", object(0x43, "xyz"), object(0x54, "text")}}.bytes());
  const PropertyListValue value = readBinaryPropertyList(bytes).value_or(Array{});
  ASSERT_EQ(value.array()->size(), 2U);
  const auto* const data = value.array()->front().data();
  const auto* const text = value.array()->back().text();

  EXPECT_EQ(data->bytes().data(), bytes.bytes().data() + 12);
  EXPECT_EQ(static_cast<const void*>(text->view().data()), bytes.bytes().data() + 16);
}

TEST(BinaryPropertyListReader, GivesOneSharedContainerForEveryReference) {
  const PropertyListValue value = valueOfObjects({"\xA2\x01\x01", "\xA1\x02", "\x09"});
  ASSERT_EQ(value.array()->size(), 2U);

  EXPECT_EQ(value.array()->front().array(), value.array()->back().array());
}

TEST(BinaryPropertyListReader, ConvertsAUtf16TextOnceForEveryReference) {
  const PropertyListValue value =
      valueOfObjects({"\xA3\x01\x01\x02", "\x61\x20\xAC", "\xD1\x01\x01"});
  ASSERT_EQ(value.array()->size(), 3U);
  const char* const first = value.array()->front().text()->view().data();

  EXPECT_EQ((*value.array())[1].text()->view().data(), first);
  EXPECT_EQ(value.array()->back().dictionary()->begin()->first.view().data(), first);
}

TEST(BinaryPropertyListReader, CountsTheLastOfARepeatedKey) {
  const PropertyListValue expected(PropertyListDictionary{{"a", 3}, {"b", 2}});

  EXPECT_EQ(valueOfObjects({"\xD3\x01\x02\x01\x03\x04\x05", object(0x51, "a"), object(0x51, "b"),
                            "\x10\x01"s, "\x10\x02"s, "\x10\x03"s}),
            expected)
      << "the same object three times";
  EXPECT_EQ(valueOfObjects({"\xD3\x01\x02\x06\x03\x04\x05", object(0x51, "a"), object(0x51, "b"),
                            "\x10\x01"s, "\x10\x02"s, "\x10\x03"s, "\x61\0a"s}),
            expected)
      << "another object with the same text";
}

TEST(BinaryPropertyListReader, RefusesMalformedObjectsAndSaysWhere) {
  const std::vector<std::pair<std::vector<std::string>, std::string>> rows = {
      {{"\x0F"}, damagedAt(8, "no kind of object begins with the byte 15")},
      {{"\x01"}, damagedAt(8, "no kind of object begins with the byte 1")},
      {{object(0x70)}, damagedAt(8, "no kind of object begins with the byte 112")},
      {{"\xF0"}, damagedAt(8, "no kind of object begins with the byte 240")},
      {{"\xC1\0"s}, damagedAt(9, "the container at byte 8 is inside itself")},
      {{object(0x15, std::string(32, '\0'))}, damagedAt(8, "an integer cannot be 32 bytes wide")},
      {{object(0x14, bigEndian(1, 8) + bigEndian(0, 8))},
       damagedAt(8, "an integer does not fit in 64 bits")},
      {{object(0x14, bigEndian(UINT64_MAX, 8) + bigEndian(1, 8))},
       damagedAt(8, "an integer does not fit in 64 bits")},
      {{"\x20\0"s}, damagedAt(8, "a real number cannot be 1 byte wide")},
      {{object(0x32) + bigEndian(0, 4)}, damagedAt(8, "a date cannot be 4 bytes wide")},
      {{object(0x88, std::string(9, '\0'))}, damagedAt(8, "a UID cannot be 9 bytes wide")},
      {{"\x11\x01"s},
       damagedAt(8, "contents of 2 bytes do not fit in the 1 byte before the offset table")},
      {{object(0x45, "abcd")},
       damagedAt(8, "contents of 5 bytes do not fit in the 4 bytes before the offset table")},
      {{object(0x55, "abcd")},
       damagedAt(8, "contents of 5 bytes do not fit in the 4 bytes before the offset table")},
      {{"\x62\0a\0"s},
       damagedAt(8, "contents of 4 bytes do not fit in the 3 bytes before the offset table")},
      {{"\xA2\x01"},
       damagedAt(8, "contents of 2 bytes do not fit in the 1 byte before the offset table")},
      {{"\xD2\x01\x01\x01"},
       damagedAt(8, "contents of 4 bytes do not fit in the 3 bytes before the offset table")},
      {{object(0x4F)}, damagedAt(9, "a count is not an integer of at most 8 bytes")},
      {{object(0x4F, "Q")}, damagedAt(9, "a count is not an integer of at most 8 bytes")},
      {{"\x4F\x14" + std::string(16, '\0')},
       damagedAt(9, "a count is not an integer of at most 8 bytes")},
      {{"\x4F\x11\x01"}, damagedAt(9, "a count is cut off by the offset table")},
      {{object(0x53, "ab\xC3")}, damagedAt(8, "an ASCII string holds a byte above 127")},
      {{object(0x5C, "abc\xC3\xA9-------")},
       damagedAt(8, "an ASCII string holds a byte above 127")},
      {{"\x62\0a\xD8\x3D"s}, damagedAt(11, "a UTF-16 string holds half a surrogate pair")},
      {{"\x62\xD8\x3D\0a"s}, damagedAt(9, "a UTF-16 string holds half a surrogate pair")},
      {{"\x61\xDD\x11"s}, damagedAt(9, "a UTF-16 string holds half a surrogate pair")},
      {{"\x62\xDD\x11\xDD\x11"s}, damagedAt(9, "a UTF-16 string holds half a surrogate pair")},
      {{"\xA1\x02", "\x09"}, damagedAt(9, "there is no object 2 among 2 objects")},
      {{"\xD1\x01\x02", "\x09", "\x09"}, damagedAt(9, "a dictionary's key is not a string")},
      {{"\xD1\x02\x01", "\x09"}, damagedAt(9, "there is no object 2 among 2 objects")},
      {{"\xA1\0"s}, damagedAt(9, "the container at byte 8 is inside itself")},
      {{"\xD1\x01\x02", object(0x51, "x"), "\xA1\0"s},
       damagedAt(14, "the container at byte 8 is inside itself")}};
  for (const auto& [objects, expected] : rows) {
    EXPECT_EQ(errorOfObjects(objects), expected);
  }
}

TEST(BinaryPropertyListReader, RefusesCountsThatNoPropertyListCouldHold) {
  for (const char marker : {'\x4F', '\x5F', '\x6F', '\xAF', '\xDF'}) {
    for (const std::uint64_t count :
         {std::uint64_t{1} << 31, std::uint64_t{1} << 61, std::uint64_t{1} << 63, UINT64_MAX}) {
      const std::string error =
          errorOfObjects({std::string(1, marker) + '\x13' + bigEndian(count, 8)});
      EXPECT_NE(error.find("do not fit in the 0 bytes"), std::string::npos) << error;
    }
  }
}

TEST(BinaryPropertyListReader, RefusesAMalformedTrailerAndSaysWhere) {
  const Parts good{.objects = {"\x09"}};
  const std::string objects = "bplist00\x09\x08";
  const Parts noOffsets{.objects = {}, .offsetWidth = 0};
  const Parts wideOffsets{.objects = {}, .offsetWidth = 9};
  const Parts noReferences{.objects = {}, .referenceWidth = 0};
  const Parts wideReferences{.objects = {}, .referenceWidth = 9};
  const Parts otherTop{.objects = {}, .top = 1};
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"", damagedAt(0, "it ends before its trailer is complete")},
      {std::string(40, 'x'), damagedAt(0, "it does not begin with \"bplist00\"")},
      {"bplist00", damagedAt(8, "it ends before its trailer is complete")},
      {"bplist00" + std::string(31, '\0'), damagedAt(39, "it ends before its trailer is complete")},
      {objects + noOffsets.trailer(1, 9), damagedAt(16, "an offset cannot be 0 bytes wide")},
      {objects + wideOffsets.trailer(1, 9), damagedAt(16, "an offset cannot be 9 bytes wide")},
      {objects + noReferences.trailer(1, 9), damagedAt(17, "a reference cannot be 0 bytes wide")},
      {objects + wideReferences.trailer(1, 9), damagedAt(17, "a reference cannot be 9 bytes wide")},
      {objects + good.trailer(1, 7), damagedAt(34, "the offset table cannot begin at 7")},
      {objects + good.trailer(1, 11), damagedAt(34, "the offset table cannot begin at 11")},
      {objects + good.trailer(1, UINT64_MAX),
       damagedAt(34, "the offset table cannot begin at 18446744073709551615")},
      {objects + good.trailer(2, 9),
       damagedAt(18, "the offset table's 1 byte do not hold one offset each for 2 objects")},
      {objects + good.trailer(1, 8),
       damagedAt(18, "the offset table's 2 bytes do not hold one offset each for 1 object")},
      {objects + good.trailer(UINT64_MAX, 9),
       damagedAt(18,
                 "the offset table's 1 byte do not hold one offset each for "
                 "18446744073709551615 objects")},
      {objects + good.trailer(0, 10), damagedAt(26, "there is no object 0 among 0 objects")},
      {objects + otherTop.trailer(1, 9), damagedAt(26, "there is no object 1 among 1 object")},
      {"bplist00\x09\x07" + good.trailer(1, 9), damagedAt(9, "no object can be at byte 7")},
      {"bplist00\x09\x09" + good.trailer(1, 9), damagedAt(9, "no object can be at byte 9")}};
  for (const auto& [bytes, expected] : rows) {
    EXPECT_EQ(errorOf(bytes), expected);
  }
}

TEST(BinaryPropertyListReader, RefusesOffsetsTooLargeForAnyBytes) {
  const Parts parts{.objects = {}, .offsetWidth = 8};

  EXPECT_EQ(errorOf("bplist00\x09" + bigEndian(UINT64_MAX, 8) + parts.trailer(1, 9)),
            damagedAt(9, "no object can be at byte 18446744073709551615"));
}

TEST(BinaryPropertyListReader, RefusesObjectsThatOverlap) {
  // Eight texts end in the same place, each beginning one byte before the next.
  const std::string objects = "bplist00\xA4\x01\x02\x03\x04\x53\x52\x51\x50";
  const std::string bytes = objects + "\x08\x0D\x0E\x0F\x10" + Parts().trailer(5, objects.size());

  EXPECT_EQ(errorOf(bytes), damagedAt(14, "objects overlap"));
}

TEST(BinaryPropertyListReader, ReadsAsManyNestedContainersAsItsBound) {
  const auto nested = [](std::size_t count) {
    Parts parts{.objects = {}, .offsetWidth = 4, .referenceWidth = 2};
    for (std::size_t index = 1; index < count; ++index) {
      parts.objects.push_back(object(0xA1, bigEndian(index, 2)));
    }
    parts.objects.emplace_back("\xA0");
    return parts.bytes();
  };

  EXPECT_TRUE(readBinaryPropertyList(dataOf(nested(512))).has_value());
  EXPECT_EQ(errorOf(nested(513)), damagedAt(8 + (512 * 3), "more than 512 containers are nested"));
  EXPECT_EQ(errorOf(nested(60'000)),
            damagedAt(8 + (512 * 3), "more than 512 containers are nested"));
}

TEST(BinaryPropertyListReader, RefusesDeepNestingThatIsReadPieceByPiece) {
  // The top array lists the inner arrays first, so that none is ever read far from the top.
  const auto pieces = [](std::size_t count) {
    Parts parts{.objects = {}, .offsetWidth = 4, .referenceWidth = 2};
    std::string top = longHead('\xA0', count);
    for (std::size_t index = 1; index <= count; ++index) {
      top += bigEndian(index, 2);
    }
    parts.objects = {top, "\xA0"};
    for (std::size_t index = 1; index < count; ++index) {
      parts.objects.push_back(object(0xA1, bigEndian(index, 2)));
    }
    return parts.bytes();
  };

  EXPECT_TRUE(readBinaryPropertyList(dataOf(pieces(511))).has_value());
  EXPECT_NE(errorOf(pieces(512)).find("more than 512 containers are nested"), std::string::npos);
  EXPECT_NE(errorOf(pieces(60'000)).find("more than 512 containers are nested"), std::string::npos);
}

TEST(BinaryPropertyListReader, DecodesASharedGraphInProportionToItsBytes) {
  constexpr std::size_t Levels = 60;
  Parts parts;
  for (std::size_t level = 0; level < Levels; ++level) {
    parts.objects.push_back(object(0xA2, std::string(2, static_cast<char>(level + 1))));
  }
  parts.objects.emplace_back("\x09");
  const PropertyListValue value = valueOf(parts.bytes());
  const PropertyListValue* inner = &value;
  for (std::size_t level = 0; level < Levels; ++level) {
    ASSERT_EQ(inner->array()->size(), 2U);
    if (level + 1 < Levels) {
      EXPECT_EQ(inner->array()->front().array(), inner->array()->back().array());
    }
    inner = &inner->array()->front();
  }

  EXPECT_EQ(*inner, PropertyListValue(true));
}

/// Property lists with every kind of object and of reference.
std::vector<std::string> wellFormedSamples() {
  const PropertyListDictionary mixed{
      {"bool", Array{true, false}},
      {"numbers", Array{1, 300, -1, UINT64_MAX, 0.5, PropertyListDate{1}, PropertyListUid{9}}},
      {"texts", Array{"ascii", "gr\xC3\xBC\xC3\x9F \xF0\x9F\x94\x91"}},
      {"bytes", dataOf("twenty bytes of data")},
      {"shared", PropertyListDictionary{{"bool", Array{Array{}, "ascii"}}}}};
  const Data bytes = writeBinaryPropertyList(mixed, HashSecret).value_or(Data());
  return {
      {bytes.bytes().begin(), bytes.bytes().end()},
      Parts{.objects = {"\xA2\x01\x01", "\xD2\x02\x02\x03\x04", object(0x51, "x"), "\0"s, "\x09"},
            .offsetWidth = 3}
          .bytes(),
      Parts{.objects = {object(0xA1, bigEndian(1, 8)), "\x5F\x13" + bigEndian(3, 8) + "abc"},
            .offsetWidth = 8,
            .referenceWidth = 8}
          .bytes()};
}

/// Reads the bytes and looks at everything that was read.
void expectValueOrError(const std::string& bytes) {
  const auto value = readBinaryPropertyList(dataOf(bytes));
  if (value) {
    const auto written = writeBinaryPropertyList({{"k", *value}}, HashSecret);
    EXPECT_TRUE(!written || readBinaryPropertyList(*written));
  } else {
    EXPECT_TRUE(value.error().localizedDescription.value_or("").starts_with(
        "The binary property list is damaged at byte "));
  }
}

TEST(BinaryPropertyListReader, GivesAValueOrAnErrorWhicheverByteIsChanged) {
  for (const std::string& sample : wellFormedSamples()) {
    for (std::size_t index = 0; index < sample.size(); ++index) {
      for (int change = 1; change < 256; change += 3) {
        std::string changed = sample;
        changed[index] = static_cast<char>(changed[index] ^ change);
        expectValueOrError(changed);
      }
    }
  }
}

}  // namespace
}  // namespace korvan
