#include <csignal>
#include <exception>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>
#include <tuple>

#include <CLI/CLI.hpp>
#include <pthread.h>
#include <sys/signalfd.h>

#include "channel/HostIdentifiers.h"
#include "lab/host/EventLog.h"
#include "lab/host/HostServer.h"
#include "lab/host/HostSocket.h"
#include "lab/host/RequestHandler.h"
#include "lab/host/Vault.h"
#include "lab/support/Descriptor.h"
#include "lab/support/SystemError.h"
#include "platform/linux/LinuxAppGroupContainers.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace {

using namespace korvan;
using namespace korvan::lab;
using namespace korvan::lab::host;

constexpr int UsageError = 2;

constexpr const char* Description =
    "A host application for the Korvan AutoFill extension: keeps passkeys and answers\n"
    "the extension on the socket acp.sock until SIGTERM, SIGINT or SIGHUP. Prints one\n"
    "JSON object per line: when it is ready (with its passkeys), when a request\n"
    "unlocks the vault, and after each connection.\n\n"
    "It plays a user who agrees whenever a request allows user interaction. Who has\n"
    "unlocked the vault counts as verified, but a silent request that requires user\n"
    "verification gets \"userInteractionRequired\". A client may stall for 30 seconds.\n";

struct Options {
  std::string container;
  std::string vault;
  std::string url;
  RequestHandler::Behavior behavior;
};

std::string emptyPathError(const std::string& path) {
  return path.empty() ? "the path is empty" : "";
}

std::string launchUrlError(const std::string& url) {
  return url.starts_with("korvan:") ? "" : "\"" + url + "\" is not a URL that opens Korvan";
}

void describe(CLI::App& app, Options& options, const std::string& program) {
  app.description(Description);
  app.get_formatter()->column_width(20);
  app.add_option("--container", options.container,
                 "The socket's directory (default: the app group's container)")
      ->type_name("DIR")
      ->check(CLI::Validator(emptyPathError, ""));
  app.add_option("--vault", options.vault, "File that keeps the passkeys (default: memory)")
      ->type_name("FILE")
      ->check(CLI::Validator(emptyPathError, ""));
  app.add_flag("--locked", options.behavior.locked,
               "Start locked, until a request allows user interaction");
  app.add_flag("--user-cancels", options.behavior.userCancels,
               "The user cancels whatever is asked");
  app.add_option("url", options.url, "The URL that opened this program; not used")
      ->type_name("URL")
      ->check(CLI::Validator(launchUrlError, ""));
  app.footer("Example:\n  " + program + " --container \"$(mktemp -d)\" --locked\n");
}

std::filesystem::path containerFor(const Options& options) {
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

void run(const Options& options) {
  const Descriptor stop = stopSignals();
  Vault vault = options.vault.empty() ? Vault() : Vault(options.vault);
  const HostSocket socket(containerFor(options));
  EventLog log(std::cout);
  RequestHandler handler(vault, options.behavior, [&log] { log.unlocked(); });
  const LinuxPropertyListSerialization serialization;
  HostServer server(
      serialization,
      {.answer = [&handler](const auto& request) { return handler.answer(request); },
       .closed = [&log](const ConnectionSummary& summary) { log.connection(summary); }});
  log.ready(socket.path(), vault.passkeys());
  server.run(socket.descriptor(), stop.get());
}

}  // namespace

int main(int argc, char** argv) {
  try {
    // The reader of the events may go away; the clients must be served nevertheless.
    std::ignore = std::signal(SIGPIPE, SIG_IGN);
    CLI::App app;
    Options options;
    describe(app, options, *argv);
    try {
      app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
      return app.exit(error) == 0 ? EXIT_SUCCESS : UsageError;
    }
    run(options);
    return EXIT_SUCCESS;
  } catch (const std::exception& error) {
    std::cerr << "korvan-sample-host: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
