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

Data dataOf(std::string_view characters) {
  return Data::copyOf(
      {reinterpret_cast<const std::uint8_t*>(characters.data()), characters.size()});
}

const void* placeOf(const Text& text) { return text.view().data(); }

TEST(Text, KeepsWhatIsShortToItself) {
  const Text text(std::string(Text::MaxShortSize, 'x'));
  const Text copy = text;  // NOLINT(performance-unnecessary-copy-initialization)

  EXPECT_EQ(copy.view(), std::string(Text::MaxShortSize, 'x'));
  EXPECT_NE(placeOf(copy), placeOf(text));
}

TEST(Text, SharesWhatIsLongWithItsCopies) {
  const Text text(std::string(Text::MaxShortSize + 1, 'x'));
  const Text copy = text;  // NOLINT(performance-unnecessary-copy-initialization)

  EXPECT_EQ(copy.view(), std::string(Text::MaxShortSize + 1, 'x'));
  EXPECT_EQ(placeOf(copy), placeOf(text));
}

TEST(Text, SharesTheBytesOfDataThatAreNotFew) {
  const Data utf8 = dataOf("a text that is not short at all");
  const Text text(utf8);

  EXPECT_EQ(text.view(), "a text that is not short at all");
  EXPECT_EQ(placeOf(text), utf8.bytes().data());
}

TEST(Text, HoldsTheBytesOfDataThatAreFew) {
  EXPECT_EQ(Text(dataOf("ok")).view(), "ok");
  EXPECT_EQ(Text(Data()).view(), "");
}

TEST(Text, IsASliceOfDataLongOrShort) {
  const Data utf8 = dataOf("0123456789 and some more that is long");

  EXPECT_EQ(Text::sliceOf(utf8, 3, 4).view(), "3456");
  EXPECT_EQ(Text::sliceOf(utf8, 37, 0).view(), "");
  const Text text = Text::sliceOf(utf8, 11, 26);
  EXPECT_EQ(text.view(), "and some more that is long");
  EXPECT_EQ(placeOf(text), utf8.bytes().data() + 11);
}

TEST(Text, EqualsTheSameCharactersWhereverTheyAreKept) {
  EXPECT_EQ(Text("type"), "type"_text);
  EXPECT_NE(Text("type"), Text("Type"));
  EXPECT_NE(Text("type"), Text("typ"));
}

TEST(OrderingPrefix, IsInTheOrderOfTheBytes) {
  const std::array<std::string_view, 9> ordered = {"",         "\x01",    "a", "ab",      "abcdefg",
                                                   "abcdefgh", "abcdefi", "b", "\xC3\xA9"};
  for (std::size_t index = 1; index < ordered.size(); ++index) {
    EXPECT_LT(orderingPrefixOf(ordered[index - 1]), orderingPrefixOf(ordered[index])) << index;
  }
}

TEST(OrderingPrefix, IsThatOfTheFirstEightBytes) {
  EXPECT_EQ(orderingPrefixOf("abcdefgh"), 0x6162636465666768U);
  EXPECT_EQ(orderingPrefixOf("abcdefghXYZ"), orderingPrefixOf("abcdefgh"));
  EXPECT_EQ(orderingPrefixOf("ab"), 0x6162000000000000U);
}

}  // namespace
}  // namespace korvan
