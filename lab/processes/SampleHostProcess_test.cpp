#include "lab/processes/SampleHostProcess.h"

#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace korvan::lab {
namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

std::vector<std::string> shell(const std::string& script) { return {"-c", script}; }

TEST(SampleHostProcess, TellsItsEventsInOrder) {
  SampleHostProcess process("/bin/sh", shell(R"(echo '{"event":1}'; echo '{"event":2}')"));
  EXPECT_EQ(process.nextEvent().at("event"), 1);
  EXPECT_EQ(process.nextEvent().at("event"), 2);
}

TEST(SampleHostProcess, TellsWhenItEndsInsteadOfAnEvent) {
  SampleHostProcess process("/bin/sh", shell("exit 1"));
  EXPECT_THAT([&] { process.nextEvent(); },
              ThrowsMessage<std::runtime_error>(HasSubstr("ended without printing another event")));
}

TEST(SampleHostProcess, NamesTheProgramThatCannotBeStarted) {
  EXPECT_THAT([] { const SampleHostProcess process("/nowhere/host", {}); },
              ThrowsMessage<std::runtime_error>(HasSubstr("/nowhere/host")));
}

TEST(SampleHostProcess, IsGoneAndReapedOnceStopped) {
  SampleHostProcess process("/bin/sh", shell("echo '{}'; exec cat /dev/zero >/dev/null"));
  process.nextEvent();
  process.stop();
  EXPECT_NE(::kill(process.processIdentifier(), 0), 0);
  EXPECT_EQ(errno, ESRCH);
  process.stop();
}

TEST(SampleHostProcess, TakesSignalsThatThisProcessHasBlocked) {
  sigset_t blocked;
  sigset_t former;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGTERM);
  ::pthread_sigmask(SIG_BLOCK, &blocked, &former);
  {
    // Ends only if the signal arrives.
    SampleHostProcess process("/bin/sh", shell("echo '{}'; exec cat /dev/zero >/dev/null"));
    process.nextEvent();
  }
  ::pthread_sigmask(SIG_SETMASK, &former, nullptr);
}

}  // namespace
}  // namespace korvan::lab
