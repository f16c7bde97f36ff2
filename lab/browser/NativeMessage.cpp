#include "lab/browser/NativeMessage.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <span>
#include <stdexcept>
#include <system_error>

#include <unistd.h>

#include "lab/support/SystemError.h"

namespace korvan::lab {
namespace {

using FrameSize = std::uint32_t;

/// How many bytes came before the end of the input; less than wanted only at the end.
std::expected<std::size_t, std::string> readFully(int descriptor, std::span<char> bytes) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t count = ::read(descriptor, &bytes[done], bytes.size() - done);
    if (count == 0) {
      break;
    }
    if (count < 0 && errno != EINTR) {
      return std::unexpected(
          "The browser's message cannot be read: " + std::generic_category().message(errno) + ".");
    }
    done += count < 0 ? 0 : static_cast<std::size_t>(count);
  }
  return done;
}

std::string truncated(std::string_view part, std::size_t got, std::size_t wanted) {
  return std::string("The browser's message ends early: ")
      .append(part)
      .append(" has ")
      .append(std::to_string(got))
      .append(" of ")
      .append(std::to_string(wanted))
      .append(" bytes.");
}

std::expected<std::size_t, std::string> readFrameSize(int descriptor) {
  std::array<char, sizeof(FrameSize)> bytes{};
  const auto count = readFully(descriptor, bytes);
  if (!count) {
    return std::unexpected(count.error());
  }
  if (*count < bytes.size()) {
    return std::unexpected(truncated("its size", *count, bytes.size()));
  }
  FrameSize size = 0;
  std::memcpy(&size, bytes.data(), sizeof size);
  if (size == 0) {
    return std::unexpected("The browser's message has no bytes; it must be JSON.");
  }
  if (size > MostFromBrowser) {
    return std::unexpected("The browser's message has " + std::to_string(size) +
                           " bytes; it must have at most " + std::to_string(MostFromBrowser) + ".");
  }
  return size;
}

}  // namespace

std::expected<std::string, std::string> readNativeMessage(int descriptor) {
  const auto size = readFrameSize(descriptor);
  if (!size) {
    return std::unexpected(size.error());
  }
  std::string json(*size, '\0');
  const auto count = readFully(descriptor, json);
  if (!count) {
    return std::unexpected(count.error());
  }
  if (*count < *size) {
    return std::unexpected(truncated("it", *count, *size));
  }
  return json;
}

void writeNativeMessage(int descriptor, std::string_view json) {
  if (json.size() > MostToBrowser) {
    throw std::length_error("the answer has " + std::to_string(json.size()) +
                            " bytes, and the browser reads at most " +
                            std::to_string(MostToBrowser));
  }
  const auto size = static_cast<FrameSize>(json.size());
  std::string frame(sizeof size, '\0');
  std::memcpy(frame.data(), &size, sizeof size);
  frame += json;
  for (std::string_view left = frame; !left.empty();) {
    const ssize_t count = ::write(descriptor, left.data(), left.size());
    requireSystem(count >= 0 || errno == EINTR, "answering the browser");
    left.remove_prefix(count < 0 ? 0 : static_cast<std::size_t>(count));
  }
}

}  // namespace korvan::lab
