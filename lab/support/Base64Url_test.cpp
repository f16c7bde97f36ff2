#include "lab/support/Base64Url.h"

#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace korvan::lab {
namespace {

using Rows = std::vector<std::pair<std::vector<std::uint8_t>, std::string_view>>;

Rows rows() {
  return {{{}, ""},
          {{0x66}, "Zg"},
          {{0x66, 0x6F}, "Zm8"},
          {{0x66, 0x6F, 0x6F}, "Zm9v"},
          {{0xFB, 0xFF, 0xFE}, "-__-"},
          {{0x00, 0x00, 0x00, 0x00}, "AAAAAA"}};
}

TEST(Base64Url, WritesBytesWithTheUrlAlphabetAndNoPadding) {
  for (const auto& [bytes, text] : rows()) {
    EXPECT_EQ(base64Url(bytes), text);
  }
}

TEST(Base64Url, ReadsBackWhatItWrites) {
  for (const auto& [bytes, text] : rows()) {
    EXPECT_EQ(fromBase64Url(text), Data::copyOf(bytes)) << text;
  }
}

TEST(Base64Url, RefusesEveryOtherSpelling) {
  for (const std::string_view text :
       {"Z", "Zg==", "Zm9v\n", "Zh", "Zm9", "+//+", "Zm 9v", "Zm9v=", "é"}) {
    EXPECT_EQ(fromBase64Url(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace korvan::lab
