#include "platform/linux/LinuxClock.h"

#include <atomic>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <functional>
#include <iterator>
#include <string_view>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

namespace korvan {
namespace {

double monotonicSeconds() {
  timespec time{};
  EXPECT_EQ(::clock_gettime(CLOCK_MONOTONIC, &time), 0);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

TEST(LinuxClock, UptimeIsTheMonotonicClockInSeconds) {
  const double before = monotonicSeconds();
  const double uptime = LinuxClock().systemUptime();
  const double after = monotonicSeconds();
  EXPECT_LE(before, uptime);
  EXPECT_LE(uptime, after);
}

TEST(LinuxClock, SleepsSoManyMicroseconds) {
  const LinuxClock clock;
  const double before = clock.systemUptime();
  clock.usleep(20'000);
  EXPECT_GE(clock.systemUptime() - before, 0.02);
}

TEST(LinuxClock, SleepsIntoTheNextSecond) {
  const LinuxClock clock;
  const double before = clock.systemUptime();
  clock.usleep(1'000'001);
  EXPECT_GE(clock.systemUptime() - before, 1.000001);
}

TEST(LinuxClock, SleepsTheFullTimeDespiteSignals) {
  struct sigaction before{};
  struct sigaction noticed{};
  noticed.sa_handler = [](int) {};
  ASSERT_EQ(::sigaction(SIGUSR1, &noticed, &before), 0);
  const LinuxClock clock;
  double slept = 0;
  std::atomic<bool> awake = false;
  std::thread sleeper([&] {
    const double start = clock.systemUptime();
    clock.usleep(100'000);
    slept = clock.systemUptime() - start;
    awake = true;
  });
  while (!awake) {
    ::pthread_kill(sleeper.native_handle(), SIGUSR1);
    std::this_thread::yield();
  }
  sleeper.join();
  EXPECT_GE(slept, 0.1);
  ::sigaction(SIGUSR1, &before, nullptr);
}

// No test may step the clock that the machine tells the time by. A time namespace instead moves the
// monotonic clock and leaves the time of day as it is: a clock that follows the one does not follow
// the other. https://man7.org/linux/man-pages/man7/time_namespaces.7.html

constexpr int StepSeconds = 100'000;

/// Gives the processes that are started from now on a monotonic clock that is ahead by the step.
/// False where that is not permitted.
bool stepMonotonicClockOfChildren() {
  constexpr std::string_view Step = "monotonic 100000 0";
  if (::unshare(CLONE_NEWTIME) != 0) {
    return false;
  }
  const int offsets = ::open("/proc/self/timens_offsets", O_WRONLY | O_CLOEXEC);
  const bool stepped = ::write(offsets, Step.data(), Step.size()) == std::ssize(Step);
  ::close(offsets);
  return stepped;
}

/// Calls `body` in a process of its own, and gives its result, a small number that is not negative.
int resultInChild(const std::function<int()>& body) {
  const pid_t child = ::fork();
  if (child == 0) {
    ::_exit(body());
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(LinuxClock, FollowsTheMonotonicClockAndNotTheTimeOfDay) {
  enum Result : std::uint8_t { follows, notPermitted, uptimeStays, sleepsTooLittle };
  const LinuxClock clock;
  const double before = clock.systemUptime();
  const std::time_t timeOfDay = std::time(nullptr);
  const int result = resultInChild([&]() -> int {
    if (!stepMonotonicClockOfChildren()) {
      return notPermitted;
    }
    return resultInChild([&]() -> int {
      const double start = clock.systemUptime();
      clock.usleep(20'000);
      const double slept = clock.systemUptime() - start;
      if (start - before < StepSeconds || std::time(nullptr) - timeOfDay > StepSeconds / 2) {
        return uptimeStays;
      }
      return slept < 0.02 ? sleepsTooLittle : follows;
    });
  });
  if (result == notPermitted) {
    GTEST_SKIP() << "Only root can make a time namespace.";
  }
  EXPECT_EQ(result, follows);
}

}  // namespace
}  // namespace korvan
