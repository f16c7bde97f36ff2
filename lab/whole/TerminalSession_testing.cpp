#include "lab/whole/TerminalSession_testing.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include "lab/support/Descriptor.h"

namespace korvan::lab {

TerminalSession::TerminalSession(const std::string& command) {
  // The session leads a group of processes; `exec` has the command be its leader.
  const std::string replaced = "exec " + command;
  int terminal = -1;
  process_ = ::forkpty(&terminal, nullptr, nullptr, nullptr);
  if (process_ < 0) {
    throw std::system_error(errno, std::generic_category(), "forkpty");
  }
  if (process_ == 0) {
    ::execl("/bin/sh", "sh", "-c", replaced.c_str(), nullptr);
    ::_exit(127);
  }
  terminal_ = Descriptor(terminal);
}

TerminalSession::~TerminalSession() {
  if (process_ > 0) {
    ::kill(-process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
  }
}

void TerminalSession::write(std::string_view text) const {
  if (::write(terminal_.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    throw std::system_error(errno, std::generic_category(), "write");
  }
}

std::string TerminalSession::readUntil(std::string_view text) {
  std::array<char, 4096> some{};
  std::size_t end = 0;
  while ((end = unread_.find(text)) == std::string::npos) {
    const ssize_t count = ::read(terminal_.get(), some.data(), some.size());
    // The terminal says EIO once nobody is on its other side.
    if (count <= 0) {
      return std::exchange(unread_, {});
    }
    unread_.append(some.data(), static_cast<std::size_t>(count));
  }
  const std::string read = unread_.substr(0, end + text.size());
  unread_.erase(0, read.size());
  return read;
}

int TerminalSession::finish() {
  int status = 0;
  ::waitpid(process_, &status, 0);
  process_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace korvan::lab
