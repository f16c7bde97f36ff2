#include "lab/support/TemporaryDirectory.h"

#include <filesystem>
#include <fstream>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include "lab/support/Descriptor.h"

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

class AbandonedDirectories : public testing::Test {
 protected:
  [[nodiscard]] fs::path made(const std::string& name) const {
    fs::create_directories(place_.path() / name / "container");
    return place_.path() / name;
  }

  const TemporaryDirectory place_;
};

TEST_F(AbandonedDirectories, AreRemovedWithAllThatIsInThem) {
  const fs::path one = made("korvan-lab.aaaaaa");
  const fs::path other = made("korvan-lab.bbbbbb");
  removeAbandonedDirectories(place_.path());
  EXPECT_FALSE(fs::exists(one));
  EXPECT_FALSE(fs::exists(other));
}

TEST_F(AbandonedDirectories, AreNotThoseOfOtherPrograms) {
  const fs::path directory = made("korvan-labyrinth");
  removeAbandonedDirectories(place_.path());
  EXPECT_TRUE(fs::exists(directory));
}

TEST_F(AbandonedDirectories, AreNotWhatALinkLeadsTo) {
  const fs::path directory = made("elsewhere");
  fs::create_directory_symlink(directory, place_.path() / "korvan-lab.cccccc");
  removeAbandonedDirectories(place_.path());
  EXPECT_TRUE(fs::exists(directory / "container"));
}

TEST_F(AbandonedDirectories, AreNotInUse) {
  const TemporaryDirectory used(TemporaryDirectory::IfKilled::isSwept);
  const fs::path directory = made("korvan-lab.dddddd");
  const Descriptor lock(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  ::flock(lock.get(), LOCK_EX);
  removeAbandonedDirectories(place_.path());
  EXPECT_TRUE(fs::exists(directory));
  EXPECT_NE(::flock(Descriptor(::open(used.path().c_str(), O_RDONLY | O_CLOEXEC)).get(),
                    LOCK_EX | LOCK_NB),
            0);
}

TEST_F(AbandonedDirectories, MayBeWhereNobodyMayLook) {
  removeAbandonedDirectories(place_.path() / "missing");
  EXPECT_TRUE(fs::exists(place_.path()));
}

}  // namespace
}  // namespace korvan::lab
