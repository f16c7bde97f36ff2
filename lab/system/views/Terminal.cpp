#include "lab/system/views/Terminal.h"

#include <cerrno>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "lab/support/SystemError.h"

namespace korvan::lab {
namespace {

constexpr const char* ControllingTerminal = "/dev/tty";
constexpr std::string_view Indentation = "  ";

void writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(descriptor, text.data(), text.size());
    requireSystem(count >= 0 || errno == EINTR, "cannot write the notice to the terminal");
    text.remove_prefix(count < 0 ? 0 : static_cast<std::size_t>(count));
  }
}

}  // namespace

Terminal Terminal::standard() { return {STDIN_FILENO, STDERR_FILENO}; }

Terminal Terminal::controlling() {
  Descriptor descriptor(::open(ControllingTerminal, O_RDWR | O_CLOEXEC));
  if (descriptor.get() < 0) {
    throw std::runtime_error("there is no terminal to show the notice on (" +
                             std::string(ControllingTerminal) + ": " +
                             std::generic_category().message(errno) +
                             "); with the calls in a FILE, standard input can answer it");
  }
  Terminal terminal(descriptor.get(), descriptor.get());
  terminal.owned_ = std::move(descriptor);
  return terminal;
}

void Terminal::show(std::span<const std::string> texts) const {
  std::string page = "\n";
  for (const std::string& text : texts) {
    page.append(Indentation).append(text).append("\n\n");
  }
  writeAll(output_, page);
}

void Terminal::waitForReturn() const {
  char character = 0;
  ssize_t count = 0;
  // One at a time: what follows the line is for whoever reads next.
  do {
    count = ::read(input_, &character, 1);
  } while ((count < 0 && errno == EINTR) || (count > 0 && character != '\n'));
}

}  // namespace korvan::lab
