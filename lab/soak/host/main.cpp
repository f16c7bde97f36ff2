// A host application that answers, refuses, stalls, lies and dies, as its plan says.
//
// It takes no options, so that it can be opened by the extension's URL: what it needs lies beside
// its program, the plan in "plan", its log in "log", and the app group's container in "container".

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
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
#include <unistd.h>

#include "channel/ProviderFrame.h"
#include "lab/host/HostSocket.h"
#include "lab/soak/plan/ClientName.h"
#include "lab/soak/plan/SoakLog.h"
#include "lab/soak/plan/SoakPlan.h"
#include "lab/soak/plan/SoakScript.h"
#include "lab/support/Descriptor.h"
#include "lab/support/SystemError.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace {

using namespace korvan;
using namespace korvan::lab;
using namespace korvan::lab::soak;
using Event = SoakRecord::Event;

constexpr int StallMilliseconds = 10;

struct Host {
  SoakPlan plan;
  SoakLog log;
};

[[noreturn]] void die(const Host& host) {
  host.log.write(Event::dying);
  std::ignore = std::raise(SIGKILL);
  std::abort();
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

/// Sends all of `bytes`, unless the client has had enough of them.
void send(int socket, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count < 0 && errno != EINTR) {
      return;
    }
    bytes = bytes.subspan(count > 0 ? static_cast<std::size_t>(count) : 0);
  }
}

void sendInDrops(int socket, std::span<const std::uint8_t> bytes) {
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    send(socket, bytes.subspan(at, 1));
  }
}

/// True when the message may be the one that its connection says it is. A message without a relying
/// party may.
bool isRequest(const Host& host, std::uint64_t number, const Data& body) {
  const auto request = LinuxPropertyListSerialization().decode(body);
  const ProviderMessage* const message = request ? request->dictionary() : nullptr;
  if (message == nullptr || stringForKey(*message, provider_message_key::type) !=
                                traitsOf(host.plan.askOf(number)).messageType) {
    return false;
  }
  const auto relyingParty = stringForKey(*message, "relyingPartyIdentifier");
  return !relyingParty || relyingParty == SoakPlan::relyingPartyOf(number);
}

/// Reads as much as the script says; false when the client closes first.
bool read(const Host& host, int socket, const SoakScript& script, const ClientName& client) {
  ProviderFramePrefix prefix{};
  if (script.reading == Reading::nothing) {
    return true;
  }
  if (!receive(socket, prefix)) {
    return false;
  }
  const std::size_t size = decodeProviderFramePrefix(prefix);
  MutableData body = MutableData::zeroed(size);
  switch (script.reading) {
    case Reading::halfOfTheBody:
      return receive(socket, body.bytes().first(size / 2));
    case Reading::everything:
      break;
    default:
      return true;
  }
  if (!receive(socket, body.bytes())) {
    return false;
  }
  host.log.write(Event::received, client.number, client.attempt, prefix.size() + size);
  if (!host.plan.always() && !isRequest(host, client.number, std::move(body).freeze())) {
    host.log.write(Event::mistaken, client.number, client.attempt);
  }
  return true;
}

void serve(const Host& host, int socket, const ClientName& client) {
  const SoakScript script = scriptFor(host.plan, client.number);
  if (!read(host, socket, script, client)) {
    return;
  }
  if (script.stalls) {
    // Ends early when the client goes.
    pollfd gone{.fd = socket, .events = 0, .revents = 0};
    ::poll(&gone, 1, StallMilliseconds);
  }
  if (script.inDrops) {
    sendInDrops(socket, script.sends.bytes());
  } else {
    send(socket, script.sends.bytes());
  }
  if (script.dies) {
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
  auto client = nameOfClient(socket.get());
  if (!client && host.plan.always()) {
    client = ClientName();
  }
  // Whoever has no name only looks whether a host is there.
  if (client) {
    std::thread([&host, socket = std::move(socket), name = *client] {
      serve(host, socket.get(), name);
    }).detach();
  }
}

[[noreturn]] void run(const std::filesystem::path& directory) {
  // Never released: the threads use it until the process is ended.
  const Host& host =
      *new Host{.plan = SoakPlan::readFrom(directory / "plan"), .log = SoakLog(directory / "log")};
  const host::HostSocket socket(directory / "container");
  host.log.write(Event::ready);
  // As the sample host tells it.
  std::cout << R"({"event":"ready"})" << '\n' << std::flush;
  while (true) {
    if (host.plan.always() == Behaviour::dieBeforeAccept) {
      pollfd client{.fd = socket.descriptor(), .events = POLLIN, .revents = 0};
      ::poll(&client, 1, -1);
      die(host);
    }
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
