#include "lab/browser/NativeMessage.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "lab/support/Descriptor.h"

namespace korvan::lab {
namespace {

using testing::HasSubstr;

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
      throw std::runtime_error("no pipe");
    }
    reading = Descriptor(ends[0]);
    writing = Descriptor(ends[1]);
  }
  Descriptor reading;
  Descriptor writing;
};

std::string sizeBytes(std::uint32_t size) {
  std::string bytes(sizeof size, '\0');
  std::memcpy(bytes.data(), &size, sizeof size);
  return bytes;
}

/// What is read when the browser sends these bytes, and then nothing.
std::expected<std::string, std::string> readFrom(const std::string& bytes) {
  Pipe pipe;
  EXPECT_EQ(::write(pipe.writing.get(), bytes.data(), bytes.size()),
            static_cast<ssize_t>(bytes.size()));
  pipe.writing = Descriptor();
  return readNativeMessage(pipe.reading.get());
}

TEST(NativeMessage, IsTheJsonAfterItsSizeInTheMachinesByteOrder) {
  EXPECT_EQ(readFrom(sizeBytes(7) + "{\"a\":1}"), "{\"a\":1}");
}

TEST(NativeMessage, LeavesWhatFollowsUnread) {
  const Pipe pipe;
  const std::string both = sizeBytes(2) + "{}" + sizeBytes(2) + "[]";
  ASSERT_EQ(::write(pipe.writing.get(), both.data(), both.size()),
            static_cast<ssize_t>(both.size()));
  EXPECT_EQ(readNativeMessage(pipe.reading.get()), "{}");
  EXPECT_EQ(readNativeMessage(pipe.reading.get()), "[]");
}

TEST(NativeMessage, IsRefusedWithTheReasonWhenItsFrameIsWrong) {
  struct Case {
    std::string bytes;
    std::string words;
  };
  const std::array<Case, 6> cases{{
      {.bytes = "", .words = "its size has 0 of 4 bytes"},
      {.bytes = "abc", .words = "its size has 3 of 4 bytes"},
      {.bytes = sizeBytes(0), .words = "has no bytes"},
      {.bytes = sizeBytes(8), .words = "it has 0 of 8 bytes"},
      {.bytes = sizeBytes(8) + "{\"a\"", .words = "it has 4 of 8 bytes"},
      {.bytes = sizeBytes(MostFromBrowser + 1),
       .words = "has 67108865 bytes; it must have at most 67108864"},
  }};
  for (const Case& each : cases) {
    const auto message = readFrom(each.bytes);
    ASSERT_FALSE(message) << each.words;
    EXPECT_THAT(message.error(), HasSubstr(each.words));
  }
}

TEST(NativeMessage, SaysWhyItCannotBeRead) {
  const Pipe pipe;
  EXPECT_THAT(readNativeMessage(pipe.writing.get()).error(), HasSubstr("Bad file descriptor"));
}

TEST(NativeMessage, IsReadBackAsItWasWrittenUpToTheLargest) {
  const std::string largest(MostToBrowser, 'x');
  const Pipe pipe;
  // The pipe holds less than all of it.
  const std::jthread writer([&] { writeNativeMessage(pipe.writing.get(), largest); });
  const auto message = readNativeMessage(pipe.reading.get());
  ASSERT_TRUE(message);
  EXPECT_TRUE(*message == largest);
}

TEST(NativeMessage, IsNotWrittenWhenTheBrowserWouldNotReadIt) {
  Pipe pipe;
  EXPECT_THROW(writeNativeMessage(pipe.writing.get(), std::string(MostToBrowser + 1, 'x')),
               std::length_error);
  pipe.writing = Descriptor();
  char byte = 0;
  EXPECT_EQ(::read(pipe.reading.get(), &byte, 1), 0);
}

TEST(NativeMessage, TellsWhenItCannotBeWritten) {
  const Pipe pipe;
  EXPECT_THROW(writeNativeMessage(pipe.reading.get(), "{}"), std::system_error);
}

}  // namespace
}  // namespace korvan::lab
