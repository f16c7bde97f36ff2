#include "lab/check/Waits.h"

#include <csignal>
#include <cstdlib>
#include <string>
#include <tuple>

#include <gtest/gtest.h>
#include <unistd.h>

#include "lab/processes/Interruption.h"

namespace korvan::lab::check {
namespace {

using namespace std::chrono_literals;

constexpr int SomeStatus = 42;

// Each test gets its signals in a process of its own.

[[noreturn]] void exitAfter(void (*body)(const Interruption&, Waits&)) {
  const Interruption interruption;
  Waits waits(1h, [](const std::string& /*whatFor*/) {});
  waits.heed(interruption);
  body(interruption, waits);
  ::_exit(EXIT_SUCCESS);
}

/// Waits for something that happens at once.
void wait(Waits& waits) {
  try {
    std::ignore = waits.until([] { return true; }, "nothing");
  } catch (const Interrupted&) {
    ::_exit(SomeStatus);
  }
}

TEST(WaitsDeathTest, PassBeforeASignal) {
  EXPECT_EXIT(exitAfter([](const auto& /*interruption*/, Waits& waits) { wait(waits); }),
              testing::ExitedWithCode(EXIT_SUCCESS), "");
}

TEST(WaitsDeathTest, EndAtASignal) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    static int sent = 0;
    sent = signal;
    EXPECT_EXIT(exitAfter([](const auto& /*interruption*/, Waits& waits) {
                  ::raise(sent);
                  wait(waits);
                }),
                testing::ExitedWithCode(SomeStatus), "");
  }
}

TEST(WaitsDeathTest, EndTheProcessAtASecondSigint) {
  EXPECT_EXIT(exitAfter([](const Interruption& interruption, Waits& /*waits*/) {
                ::raise(SIGINT);
                interruption.accept();
                ::raise(SIGTERM);
                ::raise(SIGINT);
              }),
              testing::KilledBySignal(SIGINT), "");
}

TEST(WaitsDeathTest, PassAfterTheSignalIsAccepted) {
  EXPECT_EXIT(exitAfter([](const Interruption& interruption, Waits& waits) {
                ::raise(SIGINT);
                interruption.accept();
                waits.end(1h);
                ::raise(SIGTERM);
                wait(waits);
              }),
              testing::ExitedWithCode(EXIT_SUCCESS), "");
}

}  // namespace
}  // namespace korvan::lab::check
