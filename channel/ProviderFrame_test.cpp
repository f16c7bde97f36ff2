#include "channel/ProviderFrame.h"

#include <gtest/gtest.h>

namespace korvan {
namespace {

TEST(ProviderFrame, PrefixIsTheBodySizeInBigEndianOrder) {
  EXPECT_EQ(encodeProviderFramePrefix(1), (ProviderFramePrefix{0, 0, 0, 1}));
  EXPECT_EQ(encodeProviderFramePrefix(256), (ProviderFramePrefix{0, 0, 1, 0}));
  EXPECT_EQ(encodeProviderFramePrefix(0x0012'3456), (ProviderFramePrefix{0, 0x12, 0x34, 0x56}));
  EXPECT_EQ(encodeProviderFramePrefix(MaxProviderMessageSize),
            (ProviderFramePrefix{0, 0x40, 0, 0}));
}

TEST(ProviderFrame, Prefix00000100Announces256BytesAndNot65536) {
  EXPECT_EQ(decodeProviderFramePrefix({0, 0, 1, 0}), 256U);
}

TEST(ProviderFrame, PrefixIsReadAsAnUnsignedNumber) {
  EXPECT_EQ(decodeProviderFramePrefix({0xFF, 0xFF, 0xFF, 0xFF}), 0xFFFF'FFFFU);
  EXPECT_EQ(decodeProviderFramePrefix({0x80, 0, 0, 0}), 0x8000'0000U);
}

TEST(ProviderFrame, PrefixOfEverySingleBitSurvivesARoundTrip) {
  for (unsigned bit = 0; bit < 32; ++bit) {
    const std::uint32_t size = 1U << bit;
    EXPECT_EQ(decodeProviderFramePrefix(encodeProviderFramePrefix(size)), size);
  }
}

TEST(ProviderFrame, BodyHoldsOneByteToFourMebibytes) {
  EXPECT_EQ(MaxProviderMessageSize, 4'194'304U);
  EXPECT_FALSE(isValidProviderMessageSize(0));
  EXPECT_TRUE(isValidProviderMessageSize(1));
  EXPECT_TRUE(isValidProviderMessageSize(4'194'304));
  EXPECT_FALSE(isValidProviderMessageSize(4'194'305));
  EXPECT_FALSE(isValidProviderMessageSize(0x8000'0000));
  EXPECT_FALSE(isValidProviderMessageSize(0xFFFF'FFFF));
}

}  // namespace
}  // namespace korvan
