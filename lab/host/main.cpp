#include <csignal>
#include <filesystem>
#include <ostream>
#include <stdexcept>
#include <string>

#include <CLI/CLI.hpp>
#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "channel/HostIdentifiers.h"
#include "lab/host/EventLog.h"
#include "lab/host/HostOptions.h"
#include "lab/host/HostServer.h"
#include "lab/host/HostSocket.h"
#include "lab/host/RequestHandler.h"
#include "lab/host/StoppableOutput.h"
#include "lab/host/Vault.h"
#include "lab/support/Descriptor.h"
#include "lab/support/ExitStatus.h"
#include "lab/support/ProgramMain.h"
#include "lab/support/SystemError.h"
#include "platform/linux/LinuxAppGroupContainers.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace {

using namespace korvan;
using namespace korvan::lab;
using namespace korvan::lab::host;

std::filesystem::path containerFor(const HostOptions& options) {
  if (!options.container.empty()) {
    return options.container;
  }
  const auto path = LinuxAppGroupContainers().containerPath(AppGroupIdentifier);
  if (!path) {
    throw std::runtime_error("There is no container for the app group " +
                             std::string(AppGroupIdentifier) + "; name one with --container.");
  }
  return *path;
}

/// A descriptor that becomes readable on a signal to end. Call it before there are threads, because
/// they inherit the signal mask.
Descriptor stopSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    sigaddset(&signals, signal);
  }
  ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  Descriptor descriptor(::signalfd(-1, &signals, SFD_CLOEXEC));
  requireSystem(descriptor.get() >= 0, "Waiting for signals");
  return descriptor;
}

void run(const HostOptions& options) {
  const Descriptor stop = stopSignals();
  Vault vault = options.vault.empty() ? Vault() : Vault(options.vault);
  const HostSocket socket(containerFor(options));
  StoppableOutput output(STDOUT_FILENO, stop.get());
  std::ostream events(&output);
  EventLog log(events);
  RequestHandler handler(vault, options.behavior, [&log] { log.unlocked(); });
  const LinuxPropertyListSerialization serialization;
  HostServer server(
      serialization,
      {.answer = [&handler](const auto& request) { return handler.answer(request); },
       .closed = [&log](const ConnectionSummary& summary) { log.connection(summary); }});
  log.ready(socket.path(), vault.passkeys());
  // Nobody would learn that it is ready.
  if (events) {
    server.run(socket.descriptor(), stop.get());
  }
  if (!events) {
    throw std::runtime_error("cannot write to standard output");
  }
}

}  // namespace

int main(int argc, char** argv) {
  return runProgram(HostProgramName, [&] {
    CLI::App app;
    HostOptions options;
    const int exitStatus = Well;
    describeHostProgram(app, options, *argv);
    app.callback([&] { run(options); });
    return parseAndRun(app, argc, argv, exitStatus);
  });
}
