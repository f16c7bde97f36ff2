#include "lab/processes/Supervisor.h"

#include <cerrno>
#include <csignal>
#include <exception>
#include <iostream>
#include <string>
#include <system_error>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "lab/processes/ChildProcesses.h"
#include "lab/support/ExitStatus.h"
#include "lab/support/ProgramMain.h"
#include "lab/support/SystemError.h"
#include "lab/support/TemporaryDirectory.h"

namespace korvan::lab {
namespace {

namespace fs = std::filesystem;

constexpr int SignalExitBase = 128;

/// Keeps the signals that interrupt, and that tell of an ended child, for waiting.
class BlockedSignals {
 public:
  BlockedSignals() {
    sigemptyset(&signals_);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD}) {
      sigaddset(&signals_, signal);
    }
    ::pthread_sigmask(SIG_BLOCK, &signals_, &former_);
  }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;
  ~BlockedSignals() { restore(); }

  void restore() const { ::pthread_sigmask(SIG_SETMASK, &former_, nullptr); }

  /// False when no child ends in time.
  [[nodiscard]] static bool waitForChild(const timespec& limit) {
    sigset_t child{};
    sigemptyset(&child);
    sigaddset(&child, SIGCHLD);
    return ::sigtimedwait(&child, nullptr, &limit) == SIGCHLD;
  }

  /// The next signal's number.
  [[nodiscard]] int wait() const {
    int signal = 0;
    ::sigwait(&signals_, &signal);
    return signal;
  }

 private:
  sigset_t signals_{};
  sigset_t former_{};
};

/// Starts a child of this process that runs `body`, and gets `signal` when this process ends.
pid_t startChild(const std::function<int()>& body, int signal) {
  std::cout.flush();
  const pid_t parent = ::getpid();
  const pid_t child = ::fork();
  requireSystem(child >= 0, "starting a process");
  if (child != 0) {
    return child;
  }
  ::prctl(PR_SET_PDEATHSIG, signal);
  if (::getppid() != parent) {
    ::raise(signal);
  }
  // What the parent process set up is the parent's to take down.
  ::_exit(runProgram("korvan-lab", body));
}

int statusFrom(int waited) {
  return WIFEXITED(waited) ? WEXITSTATUS(waited) : SignalExitBase + WTERMSIG(waited);
}

/// How long processes have to end when they are asked to, before they are killed.
constexpr timespec EndingTime{.tv_sec = 2, .tv_nsec = 0};

/// Ends the children, and those that their ends make children of this process.
void endChildren() {
  int signal = SIGTERM;
  signalChildren(signal);
  while (true) {
    const pid_t ended = ::waitpid(-1, nullptr, WNOHANG);
    if (ended < 0) {
      return;
    }
    if (ended == 0 && !BlockedSignals::waitForChild(EndingTime)) {
      signal = SIGKILL;
    }
    signalChildren(signal);
  }
}

/// What the process came to, or what interrupted the wait for it.
int statusOf(pid_t child, const BlockedSignals& signals) {
  while (true) {
    const int signal = signals.wait();
    if (signal != SIGCHLD) {
      return SignalExitBase + signal;
    }
    // The adopted ones are waited for as well, since there may be no end of them.
    int status = 0;
    for (pid_t ended = 0; (ended = ::waitpid(-1, &status, WNOHANG)) > 0;) {
      if (ended == child) {
        return statusFrom(status);
      }
    }
  }
}

/// Has detached processes become children of this process when their own parents end.
void adoptProcesses() {
  requireSystem(::prctl(PR_SET_CHILD_SUBREAPER, 1) == 0, "adopting processes");
}

int supervise(const std::function<int()>& body, const std::function<void()>& takeDown,
              const BlockedSignals& signals) {
  adoptProcesses();
  const pid_t child = startChild(
      [&] {
        signals.restore();
        return body();
      },
      SIGKILL);
  const int status = statusOf(child, signals);
  takeDown();
  return status;
}

}  // namespace

int runSupervised(const std::function<int(const fs::path& directory)>& body,
                  const std::function<void()>& tidyUp) {
  const BlockedSignals signals;
  removeAbandonedDirectories(placeOfTemporaryDirectories());
  const TemporaryDirectory directory(TemporaryDirectory::IfKilled::isSwept);
  adoptProcesses();
  const auto takeDown = [&] {
    endChildren();
    std::error_code ignored;
    fs::remove_all(directory.path(), ignored);
    if (tidyUp) {
      tidyUp();
    }
  };
  // Another process supervises, since this one may be killed before it can take anything down.
  const pid_t supervisor = startChild(
      [&] { return supervise([&] { return body(directory.path()); }, takeDown, signals); },
      SIGTERM);
  int status = 0;
  while (::waitpid(supervisor, &status, WNOHANG) == 0) {
    if (const int signal = signals.wait(); signal != SIGCHLD) {
      ::kill(supervisor, signal);
    }
  }
  if (WIFSIGNALED(status)) {
    takeDown();
  }
  return statusFrom(status);
}

}  // namespace korvan::lab
