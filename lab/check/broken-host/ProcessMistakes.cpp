#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "channel/ProviderMessage.h"
#include "lab/check/broken-host/Alterations.h"
#include "lab/check/broken-host/Mistake.h"
#include "lab/support/Base64Url.h"
#include "lab/support/SystemError.h"

namespace korvan::lab::broken {
namespace {

constexpr int QueueOfClients = 64;

sockaddr_un addressIn(const std::filesystem::path& container) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  (container / "acp.sock")
      .string()
      .copy(static_cast<char*>(address.sun_path), sizeof address.sun_path - 1);
  return address;
}

Descriptor streamSocket() {
  const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  requireSystem(descriptor >= 0, "making a socket");
  return Descriptor(descriptor);
}

/// Listens without a look at what is there already.
void listenBlindly(const Descriptor& socket, const std::filesystem::path& container) {
  std::ignore = ::mkdir(container.c_str(), S_IRWXU);
  const sockaddr_un address = addressIn(container);
  requireSystem(
      ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
          ::listen(socket.get(), QueueOfClients) == 0,
      "listening");
}

Descriptor takeSocketOver(const std::filesystem::path& container) {
  ::unlink((container / "acp.sock").c_str());
  Descriptor socket = streamSocket();
  listenBlindly(socket, container);
  return socket;
}

bool isTaken(const std::filesystem::path& container) {
  const sockaddr_un address = addressIn(container);
  const Descriptor probe = streamSocket();
  return ::connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

Descriptor listenSoundly(const std::filesystem::path& container) {
  if (isTaken(container)) {
    std::quick_exit(EXIT_FAILURE);
  }
  return takeSocketOver(container);
}

std::atomic<int> clients = 0;

void endWithoutClients(int /*signal*/) {
  while (clients > 0) {
    ::usleep(1000);
  }
  ::_exit(EXIT_SUCCESS);
}

/// The passkeys that reports have removed since the start.
std::vector<Data>& removed() {
  static std::vector<Data> identifiers;
  return identifiers;
}

/// The next credential ID, and at each start the same ones.
Data& repeatedIdentifier() {
  static Data identifier;
  return identifier;
}

void takeNextIdentifier(Bytes& statement) {
  constexpr std::size_t Place = 55;
  constexpr std::size_t Size = 32;
  static std::uint8_t number = 0;
  const Bytes identifier(Size, ++number);
  std::ranges::copy(identifier, statement.begin() + Place);
  repeatedIdentifier() = Data::copyOf(identifier);
}

Descriptor removeSocketOfAnother(const std::filesystem::path& container) {
  if (isTaken(container)) {
    ::unlink((container / "acp.sock").c_str());
    std::quick_exit(EXIT_FAILURE);
  }
  return takeSocketOver(container);
}

void endLater(int /*signal*/) {
  constexpr useconds_t HalfASecond = 500'000;
  ::usleep(HalfASecond);
  ::_exit(EXIT_SUCCESS);
}

/// Waits for the end of its parent, and goes on for a while.
void outliveParent() {
  ::setsid();
  std::ignore = std::signal(SIGTERM, endLater);
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
}

/// `prepare` runs in the child.
Descriptor listenWithChild(const std::filesystem::path& container, void (*prepare)()) {
  std::ignore = std::signal(SIGTERM, SIG_DFL);
  if (isTaken(container)) {
    std::quick_exit(EXIT_FAILURE);
  }
  Descriptor socket = streamSocket();
  // Before anybody can connect, and end this process.
  const pid_t child = ::fork();
  if (child == 0) {
    prepare();
    while (true) {
      ::pause();
    }
  }
  ::unlink((container / "acp.sock").c_str());
  listenBlindly(socket, container);
  return socket;
}

Descriptor shareWithChild(const std::filesystem::path& container) {
  return listenWithChild(container, [] {});
}

Descriptor shareWithSlowChild(const std::filesystem::path& container) {
  return listenWithChild(container, outliveParent);
}

/// Ends by SIGTERM as processes do that know nothing of it.
Descriptor leaveSocketAtEnd(const std::filesystem::path& container) {
  std::ignore = std::signal(SIGTERM, SIG_DFL);
  Descriptor socket = streamSocket();
  listenBlindly(socket, container);
  return socket;
}

}  // namespace

std::vector<Mistake> processMistakes() {
  using namespace std::chrono_literals;
  return {
      {.name = "ends-with-status-2",
       .fails = {"launch.url", "container.exists"},
       .hint = "it wrote: no display",
       .status = 3,
       .launched = true,
       .start =
           [] {
             std::cerr << "no display\n";
             std::quick_exit(2);
           }},
      {.name = "goes-to-the-background",
       .fails = {"launch.url", "container.exists"},
       .hint = "; a host stays in the foreground; it wrote nothing",
       .status = 3,
       .launched = true,
       .start = [] { std::quick_exit(EXIT_SUCCESS); }},
      {.name = "never-listens",
       .fails = {"launch.time", "socket.present"},
       .hint = "after the start; the next checks say what there is instead",
       .status = 3,
       .launched = true,
       .listen =
           [](const std::filesystem::path& container) {
             std::ignore = ::mkdir(container.c_str(), S_IRWXU);
             return Descriptor();
           }},
      {.name = "listens-late",
       .fails = {},
       .hint = "the extension gives up after 5000",
       .warns = {"launch.time"},
       .launched = true,
       .options = {"--timeout", "1", "--only", "launch.*", "--skip", "launch.twice"},
       .start = [] { std::this_thread::sleep_for(2600ms); }},
      {.name = "listens-too-late",
       .fails = {"launch.time"},
       .hint = "the extension gives up after 5000",
       .launched = true,
       .options = {"--timeout", "10", "--skip", "restart.*", "--skip", "launch.twice"},
       .start = [] { std::this_thread::sleep_for(5010ms); }},
      {.name = "takes-the-socket-over",
       .fails = {"launch.twice"},
       .hint = "the second took the socket over",
       .launched = true,
       .listen = takeSocketOver},
      {.name = "removes-the-socket-of-another",
       .fails = {"launch.twice"},
       .hint = "the second removed the first one's socket",
       .launched = true,
       .listen = removeSocketOfAnother},
      {.name = "leaves-a-stale-socket",
       .fails = {"restart.stale"},
       .hint = "EADDRINUSE: remove the stale file first",
       .launched = true,
       .listen = leaveSocketAtEnd},
      {.name = "ignores-sigterm",
       .fails = {"restart.stop"},
       .hint = "still runs 2 s after SIGTERM",
       .launched = true,
       .listen =
           [](const std::filesystem::path& container) {
             std::ignore = std::signal(SIGTERM, SIG_IGN);
             return listenSoundly(container);
           }},
      {.name = "leaves-a-child-that-listens",
       .fails = {"restart.stop"},
       .hint = "does a child or a copy hold the socket?",
       .launched = true,
       .options = {"--skip", "restart.keeps"},
       .listen = shareWithChild},
      {.name = "leaves-a-child-that-listens-for-a-while",
       .fails = {"restart.stop"},
       .hint = "does a child or a copy hold the socket?",
       .launched = true,
       .options = {"--skip", "restart.keeps"},
       .listen = shareWithSlowChild},
      {.name = "counts-from-the-start-again",
       .fails = {"restart.keeps"},
       .hint = "the sign count starts again after a restart: keep it with the passkey",
       .launched = true,
       .statement =
           [](const auto& request, auto& statement) {
             static std::uint8_t count = 0;
             if (isAssertion(request)) {
               std::ranges::copy(std::array<std::uint8_t, 4>{0, 0, 0, ++count},
                                 statement.begin() + CountPlace);
             }
           }},
      {.name = "waits-for-its-clients",
       .fails = {"restart.stop"},
       .hint = "SIGTERM ends it only when the last client has left",
       .launched = true,
       .greet = [](int /*socket*/) { ++clients; },
       .afterAnswer = [](int /*socket*/) { --clients; },
       .listen =
           [](const std::filesystem::path& container) {
             std::ignore = std::signal(SIGTERM, endWithoutClients);
             return listenSoundly(container);
           }},
      {.name = "does-not-decode-what-it-has-kept",
       .fails = {"restart.keeps"},
       .hint = "written as base64url text",
       .launched = true,
       .answer =
           [](const auto& request, auto& answer) {
             static std::vector<Data> made;
             const auto credentialID = dataForKey(answer, "credentialID");
             if (isRegistration(request) && credentialID) {
               made.push_back(*credentialID);
             } else if (isAssertion(request) && credentialID && !contains(made, *credentialID)) {
               const std::string text = base64Url(dataForKey(answer, "userHandle")->bytes());
               answer["userHandle"] = Data(Bytes(text.begin(), text.end()));
             }
           }},
      {.name = "makes-the-same-passkeys-after-a-restart",
       .fails = {"restart.keeps"},
       .hint = "have the same credential ID; is the random generator seeded alike at each start?",
       .launched = true,
       .options = {"--only", "restart.*"},
       .answer = inAnswers(isRegistration,
                           [](Message& answer) { answer["credentialID"] = repeatedIdentifier(); }),
       .statement = inStatements(isRegistration, takeNextIdentifier),
       .keep =
           [](const auto& request, auto& passkeys) {
             if (isRegistration(request) && !passkeys.empty()) {
               passkeys.back().credentialID = repeatedIdentifier();
             }
           }},
      {.name = "does-not-keep-what-reports-change",
       .fails = {"restart.keeps"},
       .hint = "a removed passkey is back after a restart",
       .launched = true,
       .request =
           [](auto& request) {
             if (stringForKey(request, "type") == "removeUnknownCredential" &&
                 stringForKey(request, "relyingPartyIdentifier") == "check-host.invalid") {
               removed().push_back(*dataForKey(request, "credentialID"));
               request["type"] = "synchronize";
             }
           },
       .answer =
           [](const auto& request, auto& answer) {
             if (isAssertion(request) &&
                 contains(removed(), dataForKey(answer, "credentialID").value_or(Data()))) {
               answer = refusal("credentialNotFound");
             }
           }},
      {.name = "empties-its-vault-at-a-second-start",
       .fails = {"restart.keeps"},
       .hint = "the passkeys are gone after a second start",
       .launched = true,
       .options = {"--only", "restart.*"},
       .listen =
           [](const std::filesystem::path& container) {
             if (isTaken(container)) {
               std::filesystem::remove(container.parent_path() / "vault");
             }
             return listenSoundly(container);
           }},
      {.name = "keeps-passkeys-at-its-end",
       .fails = {"restart.keeps"},
       .hint = "keep each in a file before the answer to its registration",
       .launched = true,
       .forgetsPasskeysWhenKilled = true},
      {.name = "forgets-passkeys",
       .fails = {"restart.keeps"},
       .hint = "the passkeys are gone after a restart",
       .launched = true,
       .forgetsPasskeys = true},
  };
}

}  // namespace korvan::lab::broken
