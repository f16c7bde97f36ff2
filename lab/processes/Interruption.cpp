#include "lab/processes/Interruption.h"

#include <csignal>
#include <tuple>

#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "lab/support/SystemError.h"

namespace korvan::lab {
namespace {

sigset_t setOf(std::initializer_list<int> signals) {
  sigset_t set{};
  sigemptyset(&set);
  for (const int signal : signals) {
    sigaddset(&set, signal);
  }
  return set;
}

}  // namespace

Interruption::Interruption() {
  const sigset_t signals = setOf({SIGINT, SIGTERM, SIGHUP});
  ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  signals_ = Descriptor(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
  requireSystem(signals_.get() >= 0, "waiting for signals");
}

void Interruption::accept() const {
  signalfd_siginfo signal{};
  std::ignore = ::read(signals_.get(), &signal, sizeof signal);
  const sigset_t interrupt = setOf({SIGINT});
  ::pthread_sigmask(SIG_UNBLOCK, &interrupt, nullptr);
}

}  // namespace korvan::lab
