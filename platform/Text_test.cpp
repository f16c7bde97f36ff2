#include "platform/Text.h"

#include <array>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace korvan {
namespace {

TEST(Text, IsEmptyAtFirst) { EXPECT_EQ(Text().view(), ""); }

TEST(Text, CopiesTheCharactersItIsMadeOf) {
  std::string characters = "example.com";
  const Text text(characters);
  characters[0] = 'E';

  EXPECT_EQ(text.view(), "example.com");
}

TEST(Text, RefersToALiteral) {
  static constexpr std::string_view Literal = "type";

  EXPECT_EQ(Text::ofStatic(Literal).view().data(), Literal.data());
  EXPECT_EQ("type"_text.view(), Literal);
}

TEST(Text, SharesTheBytesOfData) {
  const Data utf8 = Data::copyOf(std::array<std::uint8_t, 2>{'o', 'k'});
  const Text text(utf8);

  EXPECT_EQ(text.view(), "ok");
  EXPECT_EQ(static_cast<const void*>(text.view().data()), utf8.bytes().data());
}

TEST(Text, EqualsTheSameCharactersWhereverTheyAreKept) {
  EXPECT_EQ(Text("type"), "type"_text);
  EXPECT_NE(Text("type"), Text("Type"));
  EXPECT_NE(Text("type"), Text("typ"));
}

TEST(Text, HasPrefixesInTheOrderOfItsBytes) {
  const std::array<Text, 9> ordered = {""_text,        "\x01"_text,    "a"_text,
                                       "ab"_text,      "abcdefg"_text, "abcdefgh"_text,
                                       "abcdefi"_text, "b"_text,       "\xC3\xA9"_text};
  for (std::size_t index = 1; index < ordered.size(); ++index) {
    EXPECT_LT(ordered[index - 1].orderingPrefix(), ordered[index].orderingPrefix()) << index;
  }
}

TEST(Text, HasThePrefixOfItsFirstEightBytes) {
  EXPECT_EQ("abcdefgh"_text.orderingPrefix(), 0x6162636465666768U);
  EXPECT_EQ("abcdefghXYZ"_text.orderingPrefix(), "abcdefgh"_text.orderingPrefix());
  EXPECT_EQ("ab"_text.orderingPrefix(), 0x6162000000000000U);
}

}  // namespace
}  // namespace korvan
