#include "lab/support/TemporaryDirectory.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

namespace korvan::lab {
namespace {

namespace fs = std::filesystem;

TEST(TemporaryDirectory, IsForThisUserOnly) {
  const TemporaryDirectory directory;
  EXPECT_EQ(fs::status(directory.path()).permissions(), fs::perms::owner_all);
}

TEST(TemporaryDirectory, IsRemovedWithAllThatIsInIt) {
  fs::path path;
  {
    const TemporaryDirectory directory;
    path = directory.path();
    fs::create_directory(path / "folder");
    std::ofstream(path / "folder" / "file") << "x";
  }
  EXPECT_FALSE(fs::exists(path));
}

}  // namespace
}  // namespace korvan::lab
