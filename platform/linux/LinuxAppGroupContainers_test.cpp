#include "platform/linux/LinuxAppGroupContainers.h"

#include <array>
#include <fstream>

#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/ScopedEnvironment_testing.h"
#include "platform/linux/TemporaryDirectory_testing.h"

namespace korvan {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view Group = "KRVNLAB001.example.korvan.host.group";

class LinuxAppGroupContainersTest : public testing::Test {
 protected:
  /// A directory of the mode, whatever the umask.
  [[nodiscard]] fs::path directory(const std::string& name, mode_t mode) const {
    const fs::path path = temporary_.path() / name;
    fs::create_directory(path);
    EXPECT_EQ(::chmod(path.c_str(), mode), 0);
    return path;
  }

  [[nodiscard]] static mode_t modeOf(const fs::path& path) {
    struct stat status{};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
  }

  [[nodiscard]] static std::optional<std::string> fixed(const fs::path& path) {
    return LinuxAppGroupContainers(path).containerPath(Group);
  }

  [[nodiscard]] static fs::path homeOfThisUser() {
    passwd entry{};
    passwd* found = nullptr;
    std::array<char, 4096> strings{};
    EXPECT_EQ(::getpwuid_r(::getuid(), &entry, strings.data(), strings.size(), &found), 0);
    return found == nullptr ? "" : found->pw_dir;
  }

  /// The first directory on the way to `path` that is not there.
  [[nodiscard]] static fs::path firstMissing(const fs::path& path) {
    return fs::exists(path.parent_path()) ? path : firstMissing(path.parent_path());
  }

  [[nodiscard]] fs::path groups() const { return temporary_.path() / "korvan" / "app-groups"; }

  const TemporaryDirectory temporary_;
  const ScopedEnvironment dataHome_{"XDG_DATA_HOME", temporary_.path()};
};

TEST_F(LinuxAppGroupContainersTest, CreatesTheGroupsDirectoryForItsOwnerOnly) {
  const auto path = LinuxAppGroupContainers().containerPath(Group);
  EXPECT_EQ(path, groups() / Group);
  EXPECT_EQ(modeOf(groups() / Group), 0700U);
  EXPECT_EQ(modeOf(groups()), 0700U);
  EXPECT_EQ(modeOf(groups().parent_path()), 0700U);
}

TEST_F(LinuxAppGroupContainersTest, FindsTheSameDirectoryAgain) {
  const auto first = LinuxAppGroupContainers().containerPath(Group);
  EXPECT_NE(first, std::nullopt);
  EXPECT_EQ(LinuxAppGroupContainers().containerPath(Group), first);
}

TEST_F(LinuxAppGroupContainersTest, GivesEachGroupItsOwnDirectory) {
  const LinuxAppGroupContainers containers;
  EXPECT_NE(containers.containerPath("one"), containers.containerPath("two"));
}

TEST_F(LinuxAppGroupContainersTest, FallsBackToTheHomeDirectory) {
  const fs::path home = temporary_.path() / "home";
  const ScopedEnvironment homeVariable("HOME", home);
  for (const auto& dataHome : {std::optional<std::string>(), {""}, {"relative/path"}}) {
    const ScopedEnvironment unusable("XDG_DATA_HOME", dataHome);
    EXPECT_EQ(LinuxAppGroupContainers().containerPath(Group),
              home / ".local/share/korvan/app-groups" / Group)
        << dataHome.value_or("unset");
  }
}

TEST_F(LinuxAppGroupContainersTest, FallsBackToTheUserDatabase) {
  const ScopedEnvironment noDataHome("XDG_DATA_HOME", std::nullopt);
  const ScopedEnvironment noHome("HOME", std::nullopt);
  const fs::path home = homeOfThisUser();
  if (::access(home.c_str(), W_OK) != 0) {
    GTEST_SKIP() << "This user has no home to write to.";
  }
  const fs::path expected = home / ".local/share/korvan/app-groups" / temporary_.path().filename();
  const fs::path created = firstMissing(expected);
  EXPECT_EQ(LinuxAppGroupContainers().containerPath(expected.filename().string()), expected);
  EXPECT_GT(fs::remove_all(created), 0U);
}

TEST_F(LinuxAppGroupContainersTest, RefusesGroupIdentifiersThatAreNoFileName) {
  using namespace std::string_view_literals;
  const LinuxAppGroupContainers containers;
  for (const auto identifier : {""sv, "."sv, ".."sv, "a/b"sv, "../a"sv, "/"sv, "a\0b"sv}) {
    EXPECT_EQ(containers.containerPath(identifier), std::nullopt) << identifier;
  }
  EXPECT_FALSE(fs::exists(groups()));
  EXPECT_EQ(LinuxAppGroupContainers(temporary_.path()).containerPath(".."), std::nullopt);
}

TEST_F(LinuxAppGroupContainersTest, RefusesAGroupsDirectoryThatOthersHaveRightsTo) {
  const LinuxAppGroupContainers containers;
  const fs::path path = containers.containerPath(Group).value_or("");
  for (const mode_t mode : {0710U, 0720U, 0740U, 0701U, 0702U, 0704U, 0777U}) {
    ASSERT_EQ(::chmod(path.c_str(), mode), 0);
    EXPECT_EQ(containers.containerPath(Group), std::nullopt) << std::oct << mode;
  }
  ASSERT_EQ(::chmod(path.c_str(), 0700), 0);
  EXPECT_EQ(containers.containerPath(Group), path);
}

TEST_F(LinuxAppGroupContainersTest, OneDirectoryStandsForEveryGroup) {
  const fs::path path = directory("one", 0700);
  const LinuxAppGroupContainers containers(path);
  EXPECT_EQ(containers.containerPath("a"), path);
  EXPECT_EQ(containers.containerPath("b"), path);
}

TEST_F(LinuxAppGroupContainersTest, NeverCreatesTheNamedDirectory) {
  const fs::path path = temporary_.path() / "new" / "container";
  EXPECT_EQ(fixed(path), path);
  EXPECT_FALSE(fs::exists(path.parent_path()));
}

TEST_F(LinuxAppGroupContainersTest, NamedDirectoryThatOthersHaveAnyRightToIsNone) {
  EXPECT_EQ(fixed(directory("readable", 0755)), std::nullopt);
  EXPECT_EQ(fixed(directory("group-readable", 0740)), std::nullopt);
  EXPECT_EQ(fixed(directory("world-searchable", 0701)), std::nullopt);
  EXPECT_EQ(fixed(directory("group-writable", 0720)), std::nullopt);
  EXPECT_EQ(fixed(directory("sticky", 01777)), std::nullopt);
}

TEST_F(LinuxAppGroupContainersTest, MakesARelativePathAbsolute) {
  const fs::path before = fs::current_path();
  fs::current_path(temporary_.path());
  const LinuxAppGroupContainers containers("relative");
  fs::current_path(before);
  EXPECT_EQ(containers.containerPath(Group), temporary_.path() / "relative");
}

TEST_F(LinuxAppGroupContainersTest, LeavesOutSlashesAtTheEnd) {
  const fs::path path = directory("plain", 0700);
  EXPECT_EQ(fixed(path / ""), path);
  EXPECT_EQ(fixed(path.string() + "//"), path);
}

TEST_F(LinuxAppGroupContainersTest, RefusesALink) {
  const fs::path target = directory("target", 0700);
  const fs::path link = temporary_.path() / "link";
  fs::create_directory_symlink(target, link);
  EXPECT_EQ(fixed(link), std::nullopt);
  EXPECT_EQ(fixed(link / ""), std::nullopt);
}

TEST_F(LinuxAppGroupContainersTest, RefusesWhatIsNotADirectory) {
  const fs::path file = temporary_.path() / "file";
  std::ofstream(file) << "text";
  ASSERT_EQ(::chmod(file.c_str(), 0700), 0);
  EXPECT_EQ(fixed(file), std::nullopt);
  EXPECT_EQ(fixed(file / "below"), std::nullopt);
  EXPECT_EQ(fixed(""), std::nullopt);
}

TEST_F(LinuxAppGroupContainersTest, RefusesADirectoryOfSomebodyElse) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "Only root can give a directory to another user.";
  }
  const fs::path path = directory("given", 0700);
  ASSERT_EQ(::chown(path.c_str(), 65534, 65534), 0);
  EXPECT_EQ(fixed(path), std::nullopt);
}

TEST_F(LinuxAppGroupContainersTest, WithoutADirectoryThereIsNoContainer) {
  EXPECT_EQ(LinuxAppGroupContainers(std::nullopt).containerPath(Group), std::nullopt);
}

}  // namespace
}  // namespace korvan
