#include "platform/linux/SpawnSettings.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <iterator>
#include <string>
#include <tuple>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/TestApplication_testing.h"

namespace korvan {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::MatchesRegex;

class SpawnSettingsTest : public testing::Test {
 protected:
  void TearDown() override {
    application_.stop();
    while (::waitpid(-1, nullptr, 0) > 0) {
    }
  }

  [[nodiscard]] bool spawn(std::string path) const {
    const std::array<char*, 2> arguments = {path.data(), nullptr};
    return SpawnSettings().spawn(path.c_str(), arguments.data());
  }

  TestApplication application_;
};

TEST_F(SpawnSettingsTest, TheProgramHasOnlyNowhereOpen) {
  const int inheritable = ::open("/dev/zero", O_RDONLY);  // NOLINT(*-cloexec-open): on purpose
  const int standardInput = ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0);
  ASSERT_GE(inheritable, 0);
  ASSERT_GE(standardInput, 0);
  ASSERT_EQ(::dup2(inheritable, STDIN_FILENO), STDIN_FILENO);
  const bool spawned = spawn(application_.executable());
  ASSERT_EQ(::dup2(standardInput, STDIN_FILENO), STDIN_FILENO);
  ::close(standardInput);
  ::close(inheritable);
  ASSERT_TRUE(spawned);
  std::vector<std::string> descriptors;
  std::ranges::copy_if(application_.readReport(), std::back_inserter(descriptors),
                       [](const auto& line) { return line.starts_with("descriptor"); });
  EXPECT_THAT(descriptors, ElementsAre("descriptor 0 /dev/null", "descriptor 1 /dev/null",
                                       "descriptor 2 /dev/null"));
}

TEST_F(SpawnSettingsTest, TheProgramLeadsASessionOfItsOwn) {
  ASSERT_TRUE(spawn(application_.executable()));
  const auto report = application_.readReport();
  EXPECT_THAT(report, Contains("session " + std::to_string(application_.process())));
}

TEST_F(SpawnSettingsTest, NoSignalIsBlockedOrIgnored) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  ASSERT_EQ(::pthread_sigmask(SIG_BLOCK, &all, &before), 0);
  auto* const handler = std::signal(SIGPIPE, SIG_IGN);
  const bool spawned = spawn(application_.executable());
  std::ignore = std::signal(SIGPIPE, handler);
  ASSERT_EQ(::pthread_sigmask(SIG_SETMASK, &before, nullptr), 0);
  ASSERT_TRUE(spawned);
  const auto report = application_.readReport();
  EXPECT_THAT(report, Contains("SigBlk:\t0000000000000000"));
  // Bits 31 and 32 are glibc's two own signals, which posix_spawn() leaves ignored.
  EXPECT_THAT(report, Contains(MatchesRegex("SigIgn:\t0000000[01][08]0000000")));
}

TEST_F(SpawnSettingsTest, RefusesWhatTheKernelCannotExecute) {
  EXPECT_FALSE(spawn(application_.executable().parent_path() / "missing"));
  EXPECT_FALSE(spawn(application_.executable().parent_path()));
  EXPECT_FALSE(spawn(""));
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "A child was left.";
}

}  // namespace
}  // namespace korvan
