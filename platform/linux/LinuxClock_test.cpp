#include "platform/linux/LinuxClock.h"

#include <atomic>
#include <csignal>
#include <ctime>
#include <thread>

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace korvan
