#include "lab/check/LaunchedProgram.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <glib.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "lab/support/SystemError.h"

namespace korvan::lab::check {
namespace {

/// Runs in the new process before the program does.
void prepareProcess(gpointer /*nothing*/) noexcept {
  ::setsid();
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  sigset_t none{};
  sigemptyset(&none);
  ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
  // This process ignores it, and what is ignored stays so in a new program.
  std::signal(SIGPIPE, SIG_DFL);
}

/// What a process came to. It is not reaped, so that nobody else gets its id.
siginfo_t endOf(pid_t process) {
  siginfo_t end{};
  ::waitid(P_PID, static_cast<id_t>(process), &end, WEXITED | WNOHANG | WNOWAIT);
  return end;
}

}  // namespace

LaunchedProgram::LaunchedProgram(std::vector<std::string> command) : command_(std::move(command)) {
  command_.emplace_back(LaunchUrl);
}

LaunchedProgram::~LaunchedProgram() { kill(); }

void LaunchedProgram::start() {
  kill();
  errors_ = Descriptor(::memfd_create("standard-error", MFD_CLOEXEC));
  requireSystem(errors_.get() >= 0, "keeping the program's standard error");
  errorsRead_ = 0;
  std::vector<char*> words;
  words.reserve(command_.size() + 1);
  for (std::string& word : command_) {
    words.push_back(word.data());
  }
  words.push_back(nullptr);
  GError* error = nullptr;
  // NOLINTNEXTLINE(clang-analyzer-optin.core.EnumCastOutOfRange): GLib means a set of them
  constexpr auto Flags = static_cast<GSpawnFlags>(G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_SEARCH_PATH |
                                                  G_SPAWN_STDOUT_TO_DEV_NULL);
  startTime_ = Waits::Clock::now();
  g_spawn_async_with_fds(nullptr, words.data(), nullptr, Flags, prepareProcess, nullptr,
                         &processIdentifier_, -1, -1, errors_.get(), &error);
  if (error != nullptr) {
    const std::string text = error->message;
    g_error_free(error);
    processIdentifier_ = -1;
    throw std::runtime_error(text);
  }
}

bool LaunchedProgram::isRunning() const {
  return processIdentifier_ > 0 && endOf(processIdentifier_).si_pid == 0;
}

void LaunchedProgram::signal(int number) const {
  if (processIdentifier_ > 0) {
    ::kill(processIdentifier_, number);
  }
}

bool LaunchedProgram::endsWithin(const Waits& waits, Waits::Duration limit) {
  return waits.until([this] { return !isRunning(); }, "the program to end", limit);
}

void LaunchedProgram::kill() {
  if (processIdentifier_ < 0) {
    return;
  }
  // The whole session, of which the program may have ended already.
  ::kill(-processIdentifier_, SIGKILL);
  while (::waitpid(processIdentifier_, nullptr, 0) < 0 && errno == EINTR) {
  }
  processIdentifier_ = -1;
}

std::string LaunchedProgram::ending() const {
  if (processIdentifier_ < 0) {
    return "does not run";
  }
  const siginfo_t end = endOf(processIdentifier_);
  if (end.si_pid == 0) {
    return "runs";
  }
  if (end.si_code == CLD_EXITED) {
    return "ended with status " + std::to_string(end.si_status);
  }
  const char* const name = ::sigabbrev_np(end.si_status);
  return "was ended by " +
         (name != nullptr ? "SIG" + std::string(name) : std::to_string(end.si_status));
}

std::string LaunchedProgram::newErrors() {
  constexpr off_t Most = 4096;
  struct stat file{};
  if (errors_.get() < 0 || ::fstat(errors_.get(), &file) != 0) {
    return {};
  }
  const off_t from = std::max(errorsRead_, file.st_size - Most);
  std::string text(static_cast<std::size_t>(file.st_size - from), '\0');
  const ssize_t count = ::pread(errors_.get(), text.data(), text.size(), from);
  text.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  errorsRead_ = file.st_size;
  return text;
}

}  // namespace korvan::lab::check
