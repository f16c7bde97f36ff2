#include "platform/apple/Conversions.h"

#include <array>
#include <string>

#include <gtest/gtest.h>

#include "platform/apple/HalfOfASurrogatePair_testing.h"

namespace korvan {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

constexpr std::array<std::uint8_t, 3> Bytes = {0, 1, 255};

TEST(Conversions, NilIsNullopt) {
  EXPECT_EQ(stringOf(nil), std::nullopt);
  EXPECT_EQ(dataOf(nil), std::nullopt);
  EXPECT_EQ(arrayOf(nil), std::nullopt);
  EXPECT_TRUE(valueOf(nil).isNull());
}

TEST(Conversions, NulloptIsNil) {
  EXPECT_EQ(toNSString(std::optional<std::string>()), nil);
  EXPECT_EQ(toNSData(std::optional<Data>()), nil);
}

TEST(Conversions, EmptyIsNotNullopt) {
  EXPECT_EQ(stringOf(@""), "");
  EXPECT_EQ(dataOf(toNSData(Data())), Data());
  EXPECT_TRUE(arrayOf([NSArray array]).value().empty());
  EXPECT_EQ(stringOf(toNSString(""sv)), "");
  EXPECT_EQ(stringOf(toNSString(std::string_view())), "");
}

TEST(Conversions, AnotherClassIsNullopt) {
  EXPECT_EQ(stringOf(@1), std::nullopt);
  EXPECT_EQ(dataOf(@"text"), std::nullopt);
  EXPECT_EQ(arrayOf(@"text"), std::nullopt);
  EXPECT_TRUE(valueOf(NSNull.null).isNull());
  EXPECT_TRUE(valueOf([NSArray array]).isNull());
}

TEST(Conversions, AnArrayStandsAsItIs) {
  const Data bytes = Data::copyOf(Bytes);
  EXPECT_EQ(arrayOf(@[ toNSData(bytes), @(-7), @"text", NSNull.null, toNSData(bytes) ]),
            (PropertyListValue::Array{bytes, -7, "text", PropertyListValue(), bytes}));
}

TEST(Conversions, ANumberKeepsItsKind) {
  EXPECT_EQ(valueOf([NSNumber numberWithBool:YES]), PropertyListValue(true));
  EXPECT_EQ(valueOf([NSNumber numberWithBool:NO]), PropertyListValue(false));
  EXPECT_EQ(valueOf(@1), PropertyListValue(1));
  EXPECT_EQ(valueOf([NSNumber numberWithLongLong:INT64_MIN]), PropertyListValue(INT64_MIN));
  EXPECT_EQ(valueOf([NSNumber numberWithUnsignedLongLong:UINT64_MAX]),
            PropertyListValue(UINT64_MAX));
  EXPECT_EQ(valueOf([NSNumber numberWithDouble:1]), PropertyListValue(1.0));
}

TEST(Conversions, AStringKeepsAllItsCharacters) {
  for (const std::string& text : {"a\0b"s, "Couldn\u2019t"s, "\U0001F511"s, "\uFEFF"s,
                                  "\uFEFFat the start"s, "with\uFEFFin"s, "\uFEFF\uFEFF"s}) {
    EXPECT_EQ(stringOf(toNSString(std::string_view(text))), text);
  }
}

TEST(Conversions, AByteOrderMarkIsACharacterOfTheObject) {
  NSString* const text = toNSString("\uFEFFa"sv);
  ASSERT_EQ(text.length, 2U);
  EXPECT_EQ([text characterAtIndex:0], 0xFEFF);
}

TEST(Conversions, WhatIsNotUTF8IsNil) {
  EXPECT_EQ(toNSString("\xFF"sv), nil);
  EXPECT_EQ(stringOf(toNSStringOrEmpty("\xFF"sv)), "");
}

TEST(Conversions, HalfOfASurrogatePairIsReplaced) {
  EXPECT_EQ(stringOf([[HalfOfASurrogatePair alloc] init]), "\uFFFD");
}

TEST(Conversions, DataSharesTheBytesOfTheObjectAndKeepsIt) {
  const void* bytes = nullptr;
  std::optional<Data> data;
  @autoreleasepool {
    NSData* const object = toNSData(Data::copyOf(Bytes));
    bytes = object.bytes;
    data = dataOf(object);
  }
  EXPECT_EQ(data.value().bytes().data(), bytes);
  EXPECT_EQ(data.value(), Data::copyOf(Bytes));
}

TEST(Conversions, DataDoesNotChangeWithAMutableObject) {
  NSMutableData* const object = [NSMutableData dataWithBytes:Bytes.data() length:Bytes.size()];
  const auto data = dataOf(object);
  object.length = 1;
  EXPECT_EQ(data.value(), Data::copyOf(Bytes));
}

}  // namespace
}  // namespace korvan
