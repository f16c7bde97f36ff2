#include "lab/system/LabWorkspace.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/SpawnSettings.h"

namespace korvan::lab {
namespace {

/// A file in memory that nobody can make larger than a megabyte.
Descriptor boundedMemory() {
  constexpr off_t Most = off_t{1} << 20U;
  Descriptor memory(::memfd_create("standard-error", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  if (::ftruncate(memory.get(), Most) == 0) {
    ::fcntl(memory.get(), F_ADD_SEALS, F_SEAL_GROW);
  }
  return memory;
}

std::string wordsForEnd(const siginfo_t& end) {
  if (end.si_code == CLD_EXITED) {
    return "ended with status " + std::to_string(end.si_status);
  }
  const char* const name = ::sigabbrev_np(end.si_status);
  return "was ended by " +
         (name != nullptr ? "SIG" + std::string(name) : std::to_string(end.si_status));
}

}  // namespace

LaunchedHost::LaunchedHost(std::string program, std::string url)
    : program_(std::move(program)), errors_(boundedMemory()) {
  std::string name = program_;
  const std::array<char*, 3> arguments = {name.data(), url.data(), nullptr};
  const SpawnSettings settings(errors_.get());
  if (!settings.spawn(program_.c_str(), arguments.data(), &process_)) {
    process_ = -1;
  }
}

LaunchedHost::~LaunchedHost() {
  if (started()) {
    ::waitpid(process_, nullptr, WNOHANG);
  }
}

std::optional<std::string> LaunchedHost::ending() const {
  siginfo_t end{};
  if (!started() ||
      ::waitid(P_PID, static_cast<id_t>(process_), &end, WEXITED | WNOHANG | WNOWAIT) != 0 ||
      end.si_pid == 0) {
    return std::nullopt;
  }
  return wordsForEnd(end);
}

std::string LaunchedHost::errors() const {
  // The program writes with the same place in the file.
  const off_t size = ::lseek(errors_.get(), 0, SEEK_CUR);
  std::string text(static_cast<std::size_t>(std::max<off_t>(size, 0)), '\0');
  const ssize_t count = ::pread(errors_.get(), text.data(), text.size(), 0);
  text.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  return text;
}

bool LabWorkspace::openURL(std::string_view url) const {
  if (patience_.isOver()) {
    patience_.giveUp();
    return false;
  }
  const auto* const host = std::get_if<HostExecutable>(&host_);
  if (host == nullptr) {
    return workspace_.openURL(url);
  }
  launched_.emplace(host->path, std::string(url));
  return launched_->started();
}

}  // namespace korvan::lab
