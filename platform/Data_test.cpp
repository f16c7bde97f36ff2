#include "platform/Data.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace korvan {
namespace {

const std::vector<std::uint8_t> FourBytes = {1, 2, 3, 4};

TEST(Data, IsEmptyAtFirst) {
  const Data data;

  EXPECT_TRUE(data.empty());
  EXPECT_EQ(data.size(), 0U);
  EXPECT_EQ(data.bytes().data(), nullptr);
}

TEST(Data, CopiesTheBytesItIsMadeOf) {
  std::vector<std::uint8_t> bytes = FourBytes;
  const Data data = Data::copyOf(bytes);
  bytes[0] = 9;

  EXPECT_TRUE(std::ranges::equal(data.bytes(), FourBytes));
}

TEST(Data, TakesBytesOverWithoutCopyingThem) {
  std::vector<std::uint8_t> bytes = FourBytes;
  const std::uint8_t* const first = bytes.data();
  const Data data = std::move(bytes);

  EXPECT_EQ(data.bytes().data(), first);
  EXPECT_TRUE(std::ranges::equal(data.bytes(), FourBytes));
}

TEST(Data, SharesItsBytesWithCopies) {
  const Data data = Data::copyOf(FourBytes);
  const Data copy = data;  // NOLINT(performance-unnecessary-copy-initialization): what is tested

  EXPECT_EQ(copy.bytes().data(), data.bytes().data());
  EXPECT_EQ(copy.size(), 4U);
}

TEST(Data, SlicesWithoutCopying) {
  const Data data = Data::copyOf(FourBytes);
  const Data middle = data.slice(1, 2);

  EXPECT_EQ(middle.bytes().data(), data.bytes().data() + 1);
  EXPECT_EQ(middle.size(), 2U);
}

TEST(Data, KeepsItsOwnerWhileASliceLives) {
  const auto owner = std::make_shared<std::array<std::uint8_t, 4>>();
  {
    Data slice;
    {
      const Data whole({owner, owner->data()}, owner->size());
      slice = whole.slice(3, 1);
    }
    EXPECT_EQ(owner.use_count(), 2);
  }
  EXPECT_EQ(owner.use_count(), 1);
}

TEST(Data, EqualsTheSameBytesWhereverTheyAreKept) {
  EXPECT_EQ(Data::copyOf(FourBytes), Data::copyOf(FourBytes));
  EXPECT_EQ(Data(), Data::copyOf({}));
  EXPECT_EQ(Data(), Data::copyOf(FourBytes).slice(4, 0));
  EXPECT_NE(Data::copyOf(FourBytes), Data::copyOf(FourBytes).slice(0, 3));
  EXPECT_NE(Data::copyOf(FourBytes).slice(0, 2), Data::copyOf(FourBytes).slice(2, 2));
}

}  // namespace
}  // namespace korvan
