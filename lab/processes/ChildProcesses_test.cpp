#include "lab/processes/ChildProcesses.h"

#include <csignal>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace korvan::lab {
namespace {

/// A child that waits to be killed.
pid_t startChild() {
  const pid_t child = ::fork();
  if (child == 0) {
    while (true) {
      ::pause();
    }
  }
  return child;
}

std::ifstream statOf(pid_t process) {
  return std::ifstream("/proc/" + std::to_string(process) + "/stat");
}

int statusOf(pid_t child) {
  int status = 0;
  ::waitpid(child, &status, 0);
  return status;
}

TEST(ChildProcesses, KnowTheirParent) {
  const pid_t child = startChild();
  std::ifstream stat = statOf(child);
  EXPECT_EQ(parentIn(stat), ::getpid());
  ::kill(child, SIGKILL);
  statusOf(child);
}

TEST(ChildProcesses, MayHaveAnyName) {
  std::istringstream stat("12 (a) R 3\n) (b) S 45 12 12 0");
  EXPECT_EQ(parentIn(stat), 45);
}

TEST(ChildProcesses, MayEndBeforeTheyAreRead) {
  const pid_t child = startChild();
  std::ifstream stat = statOf(child);
  ::kill(child, SIGKILL);
  statusOf(child);
  EXPECT_EQ(parentIn(stat), std::nullopt);
}

TEST(ChildProcesses, GetTheSignal) {
  const pid_t one = startChild();
  const pid_t other = startChild();
  signalChildren(SIGTERM);
  EXPECT_TRUE(WIFSIGNALED(statusOf(one)));
  EXPECT_TRUE(WIFSIGNALED(statusOf(other)));
}

}  // namespace
}  // namespace korvan::lab
