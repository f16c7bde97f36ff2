// A host with one mistake, for the tests of `korvan-lab check-host`. It prints {"event":"ready"}
// when it listens, and serves until it is ended by SIGTERM.

#include <algorithm>
#include <csignal>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <semaphore>
#include <string>
#include <thread>
#include <tuple>

#include <CLI/CLI.hpp>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "lab/check/broken-host/Mistake.h"
#include "lab/host/HostSocket.h"
#include "lab/host/Vault.h"
#include "lab/support/SystemError.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace {

using namespace korvan;
using namespace korvan::lab;
using namespace korvan::lab::broken;

struct Options {
  std::string container;
  std::string mistake;
  std::string vault;
  std::string url;
};

std::string socketFile;
/// Is there while a host runs that keeps nothing before its end, and after it was killed.
std::string markOfRunning;

/// Ends as a sound host does, and leaves no socket.
void endOnSignal(int /*signal*/) {
  ::unlink(socketFile.c_str());
  ::unlink(markOfRunning.c_str());
  ::_exit(EXIT_SUCCESS);
}

void forgetIfKilled(const std::string& vault) {
  markOfRunning = vault + ".running";
  if (std::filesystem::exists(markOfRunning)) {
    std::filesystem::remove(vault);
  }
  std::ofstream{markOfRunning};
}

const Mistake& mistakeOf(const std::string& name) {
  static const Mistake none{.name = "none", .fails = {}, .hint = {}};
  for (const Mistake* other : {&heedlessness(), &slowness()}) {
    if (name == other->name) {
      return *other;
    }
  }
  const auto found = std::ranges::find(allMistakes(), name, &Mistake::name);
  if (name != none.name && found == allMistakes().end()) {
    throw std::invalid_argument("there is no mistake \"" + name + "\"");
  }
  return name == none.name ? none : *found;
}

void serve(const Descriptor& socket, const Mistake& mistake, const Surroundings& surroundings) {
  const auto& serveOne = mistake.serve ? mistake.serve : serveSoundly;
  serveOne(socket.get(), mistake, surroundings);
}

[[noreturn]] void serveAll(int listener, const Mistake& mistake, const Surroundings& surroundings) {
  std::counting_semaphore<> free(mistake.mostAtOnce);
  while (true) {
    free.acquire();
    Descriptor socket(::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
    if (socket.get() < 0) {
      ::pause();
    }
    // Threads start in any order, and connections are to be greeted in theirs.
    if (mistake.greet) {
      mistake.greet(socket.get());
    }
    std::thread([&mistake, &surroundings, &free, mine = std::move(socket)] {
      serve(mine, mistake, surroundings);
      free.release();
    }).detach();
  }
}

void run(const Options& options) {
  const Mistake& mistake = mistakeOf(options.mistake);
  ::umask(S_IRWXG | S_IRWXO);
  if (mistake.start) {
    mistake.start();
  }
  socketFile = options.container + "/acp.sock";
  std::ignore = std::signal(SIGTERM, endOnSignal);
  if (mistake.forgetsPasskeysWhenKilled) {
    forgetIfKilled(options.vault);
  }
  const bool inMemory = options.vault.empty() || mistake.forgetsPasskeys;
  host::Vault vault = inMemory ? host::Vault() : host::Vault(options.vault);
  host::RequestHandler handler(vault, {}, [] {});
  const LinuxPropertyListSerialization propertyLists;
  std::optional<host::HostSocket> socket;
  Descriptor other;
  if (mistake.listen) {
    other = mistake.listen(options.container);
  } else {
    socket.emplace(options.container);
  }
  std::cout << R"({"event":"ready"})" << '\n' << std::flush;
  serveAll(socket ? socket->descriptor() : other.get(), mistake,
           {.handler = handler, .vault = vault, .propertyLists = propertyLists});
}

}  // namespace

int main(int argc, char** argv) {
  try {
    CLI::App app;
    Options options;
    app.add_option("--container", options.container)->required();
    app.add_option("--mistake", options.mistake)->required();
    app.add_option("--vault", options.vault);
    app.add_option("url", options.url);
    CLI11_PARSE(app, argc, argv);
    run(options);
  } catch (const std::exception& error) {
    std::cerr << "korvan-broken-host: " << error.what() << '\n';
  }
  return EXIT_FAILURE;
}
