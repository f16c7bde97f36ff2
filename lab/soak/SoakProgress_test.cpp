#include "lab/soak/SoakProgress.h"

#include <gtest/gtest.h>

namespace korvan::lab::soak {
namespace {

TEST(SoakProgress, SaysEveryTenSecondsHowFarTheSoakIs) {
  SoakProgress progress(60);
  EXPECT_EQ(progress.lineAt(9.9, 1, 0), std::nullopt);
  EXPECT_EQ(progress.lineAt(10.4, 5000, 0), "10 of 60 s: 5000 requests, nothing wrong");
  EXPECT_EQ(progress.lineAt(20.3, 6000, 0), std::nullopt);
  EXPECT_EQ(progress.lineAt(20.6, 7000, 2), "21 of 60 s: 7000 requests, 2 things wrong");
}

}  // namespace
}  // namespace korvan::lab::soak
