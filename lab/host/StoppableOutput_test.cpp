#include "lab/host/StoppableOutput.h"

#include <array>
#include <chrono>
#include <csignal>
#include <ostream>
#include <string>
#include <thread>
#include <tuple>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "lab/support/Descriptor.h"

namespace korvan::lab::host {
namespace {

using namespace std::chrono_literals;

class StoppableOutputTest : public testing::Test {
 protected:
  StoppableOutputTest() {
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    reading_ = Descriptor(ends[0]);
    writing_ = Descriptor(ends[1]);
  }

  void askToEnd() const { ::eventfd_write(stop_.get(), 1); }

  /// More than the pipe holds.
  const std::string text_ = std::string(1'000'000, 'x');
  const Descriptor stop_{::eventfd(0, EFD_CLOEXEC)};
  Descriptor reading_;
  Descriptor writing_;
};

std::string readAll(int descriptor) {
  std::string all;
  std::array<char, 4096> some{};
  for (ssize_t count = 0; (count = ::read(descriptor, some.data(), some.size())) > 0;) {
    all.append(some.data(), static_cast<std::size_t>(count));
  }
  return all;
}

TEST_F(StoppableOutputTest, LosesNothingForAReaderWhoReads) {
  askToEnd();
  std::string read;
  std::jthread reader([&] { read = readAll(reading_.get()); });
  StoppableOutput output(writing_.get(), stop_.get(), 1h);
  std::ostream stream(&output);
  EXPECT_TRUE(stream << text_ << '\n');
  writing_ = {};
  reader.join();
  EXPECT_EQ(read, text_ + "\n");
}

TEST_F(StoppableOutputTest, FailsWhenNobodyReadsAndTheProgramIsToEnd) {
  StoppableOutput output(writing_.get(), stop_.get(), 0ms);
  std::ostream stream(&output);
  askToEnd();
  EXPECT_FALSE(stream << text_);
}

TEST_F(StoppableOutputTest, FailsWhenTheReaderHasLeft) {
  std::ignore = std::signal(SIGPIPE, SIG_IGN);
  reading_ = {};
  StoppableOutput output(writing_.get(), stop_.get());
  std::ostream stream(&output);
  EXPECT_FALSE(stream << 'x');
}

}  // namespace
}  // namespace korvan::lab::host
