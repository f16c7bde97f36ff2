#include "platform/Text.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace korvan {
namespace {

using namespace std::string_view_literals;

TEST(Text, IsEmptyAtFirst) { EXPECT_EQ(Text().view(), ""); }

TEST(Text, CopiesTheCharactersItIsMadeOf) {
  std::string characters = "example.com";
  const Text text(characters);
  characters[0] = 'E';

  EXPECT_EQ(text.view(), "example.com");
}

TEST(Text, IsMadeOfWhateverHoldsCharacters) {
  const std::vector<Text> texts = {"type", std::string("type"), std::string_view("type")};

  for (const Text& text : texts) {
    EXPECT_EQ(text.view(), "type");
  }
}

TEST(Text, SharesItsCharactersWithCopies) {
  const Text text("ok");
  const Text copy = text;  // NOLINT(performance-unnecessary-copy-initialization): what is tested

  EXPECT_EQ(copy.view().data(), text.view().data());
}

TEST(Text, SharesTheBytesOfData) {
  const Data utf8 = Data::copyOf(std::array<std::uint8_t, 2>{'o', 'k'});
  const Text text(utf8);

  EXPECT_EQ(text.view(), "ok");
  EXPECT_EQ(static_cast<const void*>(text.view().data()), utf8.bytes().data());
}

TEST(Text, EqualsTheSameCharactersWhereverTheyAreKept) {
  EXPECT_EQ(Text("type"), Text("type"));
  EXPECT_NE(Text("type"), Text("Type"));
  EXPECT_NE(Text("type"), Text("typ"));
  EXPECT_EQ(Text(), Text(""));
}

TEST(Text, IsInTheOrderOfItsBytes) {
  const std::vector<Text> ordered = {"", "\x01", "a", "a\0"sv, "ab", "b", "\xC3\xA9"};

  for (std::size_t index = 1; index < ordered.size(); ++index) {
    EXPECT_LT(ordered[index - 1], ordered[index]) << index;
    EXPECT_GT(ordered[index], ordered[index - 1]) << index;
  }
}

TEST(Text, ComparesWithWhateverHoldsCharacters) {
  EXPECT_EQ(Text("type"), "type");
  EXPECT_EQ(Text("type"), std::string("type"));
  EXPECT_NE(Text("type"), "Type"sv);
  EXPECT_LT(Text("a"), "b");
  EXPECT_GT("b"sv, Text("a"));
}

}  // namespace
}  // namespace korvan
