#include "lab/support/VisibleText.h"

#include <string_view>

#include <gtest/gtest.h>

namespace korvan::lab {
namespace {

using namespace std::string_view_literals;

TEST(VisibleText, LeavesTheTextsOfPeopleAsTheyAre) {
  for (const auto& text :
       {"Korvan's vault is locked."sv, "Zoë 🗝"sv, "عربي"sv, "👩‍👧"sv, ""sv}) {
    EXPECT_EQ(visibleText(text), text);
  }
}

TEST(VisibleText, ShowsWhatControlsATerminalByItsNumber) {
  EXPECT_EQ(visibleText("no\x1b[2K\r  ✓ ok\n"), "no\\u{1B}[2K\\u{D}  ✓ ok\\u{A}");
  EXPECT_EQ(visibleText("a\0b\tc\x7f"sv), "a\\u{0}b\\u{9}c\\u{7F}");
  EXPECT_EQ(visibleText("\u009b31m\u0085"), "\\u{9B}31m\\u{85}");
}

TEST(VisibleText, ShowsWhatTurnsOrHidesTextByItsNumber) {
  EXPECT_EQ(visibleText("\u202Eko\u202C \u2066x\u2069"),
            "\\u{202E}ko\\u{202C} \\u{2066}x\\u{2069}");
  EXPECT_EQ(visibleText("\u200B\u00AD\uFEFF\u2028"), "\\u{200B}\\u{AD}\\u{FEFF}\\u{2028}");
  EXPECT_EQ(visibleText("\U000E0041"), "\\u{E0041}");
}

TEST(VisibleText, ShowsBytesThatAreNotUtf8) {
  EXPECT_EQ(visibleText("a\xff\x9b b"), "a\\xFF\\x9B b");
  EXPECT_EQ(visibleText("cut \xe2\x82"), "cut \\xE2\\x82");
  EXPECT_EQ(visibleText("\xed\xa0\x80"), "\\xED\\xA0\\x80") << "a surrogate";
  EXPECT_EQ(visibleText("\xc0\x9b"), "\\xC0\\x9B") << "an overlong ESC";
}

}  // namespace
}  // namespace korvan::lab
