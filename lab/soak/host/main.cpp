// A host application that answers, refuses, stalls, lies and dies, as it is told.
//
// It takes no options, because the extension opens it with a URL. Beside its program are its log
// "log", the app group's container "container", and the folder "scripts", which says what to do
// with each request: a file named by its number, or "any" for clients without one.

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <poll.h>
#include <sys/socket.h>

#include "channel/ProviderFrame.h"
#include "lab/host/HostSocket.h"
#include "lab/soak/plan/ClientName.h"
#include "lab/soak/plan/HostScript.h"
#include "lab/soak/plan/SoakLog.h"
#include "lab/support/Descriptor.h"
#include "lab/support/SystemError.h"

namespace {

using namespace korvan;
using namespace korvan::lab;
using namespace korvan::lab::soak;
using Event = SoakRecord::Event;

constexpr int StallMilliseconds = 10;

struct Host {
  std::filesystem::path directory;
  SoakLog log{directory / "log"};
};

[[noreturn]] void die(const Host& host) {
  host.log.write({.event = Event::dying});
  std::ignore = std::raise(SIGKILL);
  std::abort();
}

std::optional<HostScript> scriptFor(const Host& host, const std::optional<ClientName>& client) {
  return HostScript::readFrom(host.directory / "scripts" /
                              (client ? std::to_string(client->number) : "any"));
}

/// Fills `bytes`; false when the client closes or fails first.
bool receive(int socket, std::span<std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::recv(socket, bytes.data(), bytes.size(), 0);
    if (count == 0 || (count < 0 && errno != EINTR)) {
      return false;
    }
    bytes = bytes.subspan(count > 0 ? static_cast<std::size_t>(count) : 0);
  }
  return true;
}

/// Sends all of `bytes`, at most `most` at a time, unless the client has had enough of them.
void send(int socket, std::span<const std::uint8_t> bytes, std::size_t most) {
  while (!bytes.empty()) {
    const ssize_t count = ::send(socket, bytes.data(), std::min(bytes.size(), most), MSG_NOSIGNAL);
    if (count < 0 && errno != EINTR) {
      return;
    }
    bytes = bytes.subspan(count > 0 ? static_cast<std::size_t>(count) : 0);
  }
}

/// Reads as much as the script says; false when the client closes first.
bool read(const Host& host, int socket, Reading reading, const ClientName& client) {
  ProviderFramePrefix prefix{};
  if (reading < Reading::prefix) {
    return true;
  }
  if (!receive(socket, prefix)) {
    return false;
  }
  if (reading == Reading::prefix) {
    return true;
  }
  std::vector<std::uint8_t> frame(prefix.begin(), prefix.end());
  frame.resize(prefix.size() + decodeProviderFramePrefix(prefix));
  const auto body = std::span(frame).subspan(prefix.size());
  if (reading == Reading::halfOfTheBody) {
    return receive(socket, body.first(body.size() / 2));
  }
  if (!receive(socket, body)) {
    return false;
  }
  host.log.write({.event = Event::received,
                  .attempt = client.attempt,
                  .number = client.number,
                  .digest = digestOf(frame)});
  return true;
}

void serve(const Host& host, int socket) {
  const auto client = nameOfClient(socket);
  const auto script = scriptFor(host, client);
  // Whoever has no script only looks whether a host is there.
  if (!script || !read(host, socket, script->reading, client.value_or(ClientName()))) {
    return;
  }
  if (script->stalls) {
    // Ends early when the client goes.
    pollfd gone{.fd = socket, .events = 0, .revents = 0};
    ::poll(&gone, 1, StallMilliseconds);
  }
  send(socket, script->sends, script->inDrops ? 1 : script->sends.size());
  if (script->dies) {
    die(host);
  }
}

/// Serves the next client on a thread of its own.
void accept(const Host& host, int listener) {
  Descriptor socket(::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
  if (socket.get() < 0 && (errno == EINTR || errno == ECONNABORTED)) {
    return;
  }
  requireSystem(socket.get() >= 0, "Accepting a client");
  std::thread([&host, socket = std::move(socket)] { serve(host, socket.get()); }).detach();
}

[[noreturn]] void run(const std::filesystem::path& directory) {
  // Never released: the threads use it until the process is ended.
  const Host& host = *new Host{.directory = directory};
  const host::HostSocket socket(directory / "container");
  host.log.write({.event = Event::ready});
  // As the sample host tells it.
  std::cout << R"({"event":"ready"})" << '\n' << std::flush;
  const auto script = scriptFor(host, std::nullopt);
  if (script && script->reading == Reading::noConnection) {
    pollfd client{.fd = socket.descriptor(), .events = POLLIN, .revents = 0};
    ::poll(&client, 1, -1);
    die(host);
  }
  while (true) {
    accept(host, socket.descriptor());
  }
}

}  // namespace

int main() {
  try {
    run(std::filesystem::read_symlink("/proc/self/exe").parent_path());
  } catch (const std::exception& error) {
    // As when another one was opened at the same time, and is first.
    std::cerr << "korvan-soak-host: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
