#include "platform/apple/Conversions.h"

#include <array>
#include <string>

#include <gtest/gtest.h>

namespace korvan {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

constexpr std::array<std::uint8_t, 3> Bytes = {0, 1, 255};

NSString* halfOfASurrogatePair() {
  const unichar half = 0xD800;
  return [[NSString alloc] initWithCharacters:&half length:1];
}

TEST(Conversions, NilIsNullopt) {
  EXPECT_EQ(stringOf(nil), std::nullopt);
  EXPECT_EQ(dataOf(nil), std::nullopt);
  EXPECT_EQ(dataArrayOf(nil), std::nullopt);
  EXPECT_EQ(integerArrayOf(nil), std::nullopt);
}

TEST(Conversions, NulloptIsNil) {
  EXPECT_EQ(toNSString(std::optional<std::string>()), nil);
  EXPECT_EQ(toNSData(std::optional<Data>()), nil);
}

TEST(Conversions, EmptyIsNotNullopt) {
  EXPECT_EQ(stringOf(@""), "");
  EXPECT_EQ(dataOf(toNSData(Data())), Data());
  EXPECT_TRUE(dataArrayOf([NSArray array]).value().empty());
  EXPECT_TRUE(integerArrayOf([NSArray array]).value().empty());
  EXPECT_EQ(stringOf(toNSString(""sv)), "");
  EXPECT_EQ(stringOf(toNSString(std::string_view())), "");
}

TEST(Conversions, AnotherClassIsNullopt) {
  EXPECT_EQ(stringOf(@1), std::nullopt);
  EXPECT_EQ(dataOf(@"text"), std::nullopt);
  EXPECT_EQ(dataArrayOf(@"text"), std::nullopt);
  EXPECT_EQ(integerArrayOf(NSNull.null), std::nullopt);
}

TEST(Conversions, AnElementOfAnotherClassIsLeftOut) {
  const Data bytes = Data::copyOf(Bytes);
  EXPECT_EQ(dataArrayOf(@[ @"text", toNSData(bytes) ]), std::vector<Data>{bytes});
  EXPECT_EQ(integerArrayOf(@[ @(-7), NSNull.null, @(-257) ]),
            (std::vector<std::int64_t>{-7, -257}));
}

TEST(Conversions, AStringKeepsItsNULAndItsAccents) {
  for (const std::string& text : {"a\0b"s, "Couldn\u2019t"s, "\U0001F511"s}) {
    EXPECT_EQ(stringOf(toNSString(std::string_view(text))), text);
  }
}

TEST(Conversions, WhatIsNotUTF8IsNil) {
  EXPECT_EQ(toNSString("\xFF"sv), nil);
  EXPECT_EQ(stringOf(toNSStringOrEmpty("\xFF"sv)), "");
}

TEST(Conversions, AStringThatUnicodeCannotEncodeIsNullopt) {
  EXPECT_EQ(stringOf(halfOfASurrogatePair()), std::nullopt);
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
