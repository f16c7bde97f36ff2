#include "lab/processes/Supervisor.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <tuple>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "lab/support/Descriptor.h"
#include "lab/support/TemporaryDirectory.h"

namespace korvan::lab {
namespace {

namespace fs = std::filesystem;

// Each test calls in a process of its own: the call is made where there are no other children.

constexpr int SomeStatus = 42;

[[noreturn]] void exitWith(const std::function<int(const fs::path&)>& body) {
  std::exit(runSupervised(body));
}

TEST(SupervisorDeathTest, GivesTheBodysStatus) {
  EXPECT_EXIT(exitWith([](const fs::path&) { return SomeStatus; }),
              testing::ExitedWithCode(SomeStatus), "");
}

TEST(SupervisorDeathTest, SaysWhyTheBodyThrew) {
  EXPECT_EXIT(exitWith([](const fs::path&) -> int { throw std::runtime_error("no host"); }),
              testing::ExitedWithCode(1), "korvan-lab: no host");
}

TEST(SupervisorDeathTest, RemovesTheDirectory) {
  const TemporaryDirectory notes;
  EXPECT_EXIT(exitWith([&](const fs::path& directory) {
                std::ofstream(directory / "file") << "x";
                std::ofstream(notes.path() / "note") << directory.string();
                return fs::is_directory(directory) ? SomeStatus : EXIT_FAILURE;
              }),
              testing::ExitedWithCode(SomeStatus), "");
  std::string directory;
  std::getline(std::ifstream(notes.path() / "note"), directory);
  EXPECT_FALSE(fs::exists(directory));
}

/// Sends the supervisor a signal that ends this process too.
int endSupervisorWith(int signal) {
  ::kill(::getppid(), signal);
  while (true) {
    ::pause();
  }
  return EXIT_SUCCESS;
}

/// Has a body leave behind what the shell's command becomes, which writes a line and then holds its
/// output open until it ends. The body ends, or a signal ends its supervisor.
void expectEnded(const std::string& command, int signal = 0) {
  const TemporaryDirectory notes;
  const fs::path pipe = notes.path() / "pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), S_IRUSR | S_IWUSR), 0);
  EXPECT_EXIT(exitWith([&](const fs::path&) {
                std::ignore = std::system((command + " >" + pipe.string() + " 2>&1 &").c_str());
                // Returns once the process runs.
                std::string line;
                std::getline(std::ifstream(pipe), line);
                return signal == 0 ? SomeStatus : endSupervisorWith(signal);
              }),
              testing::ExitedWithCode(signal == 0 ? SomeStatus : 128 + signal), "");
  // With a writer left there would be nothing to read yet, which is an error.
  const Descriptor reading(::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  char byte = 0;
  EXPECT_EQ(::read(reading.get(), &byte, 1), 0);
}

TEST(SupervisorDeathTest, EndsDetachedProcesses) {
  expectEnded("setsid sh -c 'echo x; exec cat /dev/zero >/dev/null'");
}

TEST(SupervisorDeathTest, KillsWhatDoesNotEndWhenAsked) {
  expectEnded("(trap '' TERM; echo x; exec cat /dev/zero >/dev/null)");
}

TEST(SupervisorDeathTest, EndsDetachedProcessesWhenItIsKilled) {
  expectEnded("setsid sh -c 'echo x; exec cat /dev/zero >/dev/null'", SIGKILL);
}

TEST(SupervisorDeathTest, TidiesUpAfterwardsHoweverItEnds) {
  for (const int signal : {0, SIGTERM, SIGKILL}) {
    const TemporaryDirectory notes;
    const fs::path left = notes.path() / "left";
    const auto leave = [&](const fs::path& /*directory*/) {
      std::ofstream(left) << "x";
      return signal == 0 ? SomeStatus : endSupervisorWith(signal);
    };
    EXPECT_EXIT(std::exit(runSupervised(leave, [&] { fs::remove(left); })),
                testing::ExitedWithCode(signal == 0 ? SomeStatus : 128 + signal), "");
    EXPECT_FALSE(fs::exists(left)) << signal;
  }
}

TEST(SupervisorDeathTest, LeavesNothingWhenItIsInterruptedOrKilled) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGKILL}) {
    const TemporaryDirectory notes;
    EXPECT_EXIT(exitWith([&](const fs::path& directory) {
                  std::ofstream(notes.path() / "note") << directory.string();
                  return endSupervisorWith(signal);
                }),
                testing::ExitedWithCode(128 + signal), "");
    std::string directory;
    std::getline(std::ifstream(notes.path() / "note"), directory);
    ASSERT_NE(directory, "");
    EXPECT_FALSE(fs::exists(directory));
  }
}

}  // namespace
}  // namespace korvan::lab
