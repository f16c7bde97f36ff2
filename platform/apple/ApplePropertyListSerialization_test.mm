#include "platform/apple/ApplePropertyListSerialization.h"

#include <cstdint>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace korvan {
namespace {

Data dataOf(std::string_view bytes) {
  return Data::copyOf({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

TEST(ApplePropertyListSerialization, EveryKindComesBackAsItWas) {
  const ApplePropertyListSerialization serialization;
  const PropertyListValue values[] = {
      true,
      false,
      0,
      1,
      -1,
      INT64_MIN,
      INT64_MAX,
      std::uint64_t{INT64_MAX} + 1,
      UINT64_MAX,
      1.0,
      -0.5,
      PropertyListDate{.secondsSinceReferenceDate = 1.5},
      "",
      "Couldn\u2019t",
      "\uFEFFat the start and \uFEFF within",
      Data(),
      dataOf("\x01\x02"),
      PropertyListValue::Array(),
      PropertyListValue::Array{1, "text", PropertyListValue::Array{true}},
      PropertyListDictionary{{"inner", false}},
  };
  for (const PropertyListValue& value : values) {
    const PropertyListDictionary message{{"value", value}};
    const auto bytes = serialization.encodeBinary(message);
    ASSERT_TRUE(bytes.has_value());
    EXPECT_EQ(serialization.decode(*bytes).value(), PropertyListValue(message));
  }
}

TEST(ApplePropertyListSerialization, AKeyKeepsAByteOrderMark) {
  const ApplePropertyListSerialization serialization;
  const PropertyListDictionary message{{"\uFEFFkey", 1}, {"key", 2}};
  const auto bytes = serialization.encodeBinary(message);
  ASSERT_TRUE(bytes.has_value());
  EXPECT_EQ(serialization.decode(*bytes).value(), PropertyListValue(message));
}

TEST(ApplePropertyListSerialization, ATextThatUTF8CannotHoldArrivesWithAReplacement) {
  // A dictionary whose key and value are half of a surrogate pair each, in UTF-16.
  const std::string_view bytes("bplist00\xD1\x01\x02\x61\xD8\x3D\x61\xDD\x11\x08\x0B\x0E\0\0\0\0\0"
                               "\0\x01\x01\0\0\0\0\0\0\0\x03"
                               "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x11",
                               8 + 3 + 3 + 3 + 3 + 32);
  EXPECT_EQ(ApplePropertyListSerialization().decode(dataOf(bytes)).value(),
            PropertyListValue(PropertyListDictionary{{"\uFFFD", "\uFFFD"}}));
}

TEST(ApplePropertyListSerialization, EncodesTheBinaryFormat) {
  const Data encoded = ApplePropertyListSerialization().encodeBinary({}).value();
  EXPECT_EQ(std::string_view(reinterpret_cast<const char*>(encoded.bytes().data()), 8), "bplist00");
}

TEST(ApplePropertyListSerialization, DecodesXML) {
  const auto value = ApplePropertyListSerialization().decode(
      dataOf(R"(<plist version="1.0"><dict><key>ok</key><true/></dict></plist>)"));
  EXPECT_EQ(value.value(), PropertyListValue(PropertyListDictionary{{"ok", true}}));
}

TEST(ApplePropertyListSerialization, RefusesWhatHasNoPlaceInAPropertyList) {
  const PropertyListValue values[] = {PropertyListValue(), PropertyListUid{.value = 1},
                                      std::string_view("\xFF"),
                                      PropertyListValue::Array{PropertyListValue()}};
  for (const PropertyListValue& value : values) {
    EXPECT_FALSE(ApplePropertyListSerialization().encodeBinary({{"value", value}}).has_value());
  }
}

TEST(ApplePropertyListSerialization, RefusesOtherBytes) {
  for (const std::string_view bytes : {"", "<plist><dict>", "\x01\x02\x03"}) {
    const auto value = ApplePropertyListSerialization().decode(dataOf(bytes));
    EXPECT_FALSE(value.has_value()) << testing::PrintToString(bytes);
    EXPECT_TRUE(value.has_value() || value.error().localizedDescription);
  }
}

TEST(ApplePropertyListSerialization, ReadsSharedContainersOnceEach) {
  // Each array but the last refers twice to the next.
  constexpr int Levels = 60;
  std::string bytes = "bplist00";
  std::string table;
  for (int level = 0; level < Levels; ++level) {
    table += static_cast<char>(bytes.size());
    bytes += '\xA2';
    bytes.append(2, static_cast<char>(level + 1));
  }
  table += static_cast<char>(bytes.size());
  const auto tableOffset = static_cast<char>(bytes.size() + 1);
  bytes += "\xA0" + table + std::string(6, '\0') + "\x01\x01" + std::string(7, '\0') +
           static_cast<char>(Levels + 1) + std::string(8, '\0') + std::string(7, '\0') +
           tableOffset;

  EXPECT_NE(ApplePropertyListSerialization().decode(dataOf(bytes)).value().array(), nullptr);
}

/// `count` arrays inside one another.
PropertyListValue nestedArrays(std::size_t count) {
  PropertyListValue value = true;
  for (std::size_t depth = 0; depth < count; ++depth) {
    value = PropertyListValue::Array{value};
  }
  return value;
}

TEST(ApplePropertyListSerialization, EncodesAsManyNestedContainersAsTheBound) {
  const ApplePropertyListSerialization serialization;
  const auto encoded = [&](std::size_t arrays) {
    return serialization.encodeBinary({{"value", nestedArrays(arrays)}});
  };

  EXPECT_TRUE(encoded(MaxPropertyListNesting - 1).has_value());
  const auto refused = encoded(MaxPropertyListNesting);
  ASSERT_FALSE(refused.has_value());
  EXPECT_EQ(refused.error().localizedDescription,
            "A value is part of a nesting of more than 512 arrays and dictionaries.");
}

TEST(ApplePropertyListSerialization, CountsDictionariesAsNestedContainers) {
  PropertyListDictionary nested{{"value", true}};
  for (std::size_t depth = 1; depth < MaxPropertyListNesting; ++depth) {
    nested = {{"inner", nested}};
  }
  const ApplePropertyListSerialization serialization;
  EXPECT_TRUE(serialization.encodeBinary(nested).has_value());
  EXPECT_FALSE(serialization.encodeBinary({{"inner", nested}}).has_value());
}

/// A number in two bytes.
std::string twoBytes(std::size_t number) {
  return {static_cast<char>(number >> 8), static_cast<char>(number & 0xFF)};
}

/// `count` arrays inside one another, in the binary format.
std::string bytesOfNestedArrays(std::size_t count) {
  std::string bytes = "bplist00";
  std::string table;
  for (std::size_t index = 0; index < count; ++index) {
    table += twoBytes(bytes.size());
    bytes += index + 1 < count ? "\xA1" + twoBytes(index + 1) : "\xA0";
  }
  const std::string tableOffset = twoBytes(bytes.size());
  return bytes + table + std::string(6, '\0') + "\x02\x02" + std::string(6, '\0') +
         twoBytes(count) + std::string(8, '\0') + std::string(6, '\0') + tableOffset;
}

TEST(ApplePropertyListSerialization, DecodesAsManyNestedContainersAsTheBound) {
  const auto decoded = [](std::size_t arrays) {
    return ApplePropertyListSerialization().decode(dataOf(bytesOfNestedArrays(arrays)));
  };

  EXPECT_TRUE(decoded(MaxPropertyListNesting).has_value());
  // The platform may refuse it before we do, in words of its own.
  EXPECT_FALSE(decoded(MaxPropertyListNesting + 1).has_value());
}

TEST(ApplePropertyListSerialization, AKeyedArchiversReferenceBecomesNull) {
  // An array that holds the reference 1: the object, the table of offsets, the trailer of 32 bytes.
  const std::string_view archived(
      "bplist00\xA1\x01\x80\x01\x08\x0A\0\0\0\0\0\0\x01\x01\0\0\0\0\0\0\0\x02"
      "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x0C",
      8 + 4 + 2 + 32);
  EXPECT_EQ(ApplePropertyListSerialization().decode(dataOf(archived)).value(),
            PropertyListValue(PropertyListValue::Array{PropertyListValue()}));
}

}  // namespace
}  // namespace korvan
