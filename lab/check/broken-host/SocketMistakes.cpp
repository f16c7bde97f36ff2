#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <tuple>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "lab/check/broken-host/Mistake.h"
#include "lab/support/SystemError.h"

namespace korvan::lab::broken {
namespace {

namespace fs = std::filesystem;

constexpr int QueueSize = 16;
constexpr mode_t OwnerOnly = 0700;

void makeContainer(const fs::path& container, mode_t mode = OwnerOnly) {
  requireSystem(::mkdir(container.c_str(), mode) == 0 && ::chmod(container.c_str(), mode) == 0,
                "making the container");
}

/// A socket that is bound, and does not listen.
Descriptor boundSocket(const fs::path& container, int type = SOCK_STREAM,
                       const std::string& name = "acp.sock") {
  Descriptor socket(::socket(AF_UNIX, type | SOCK_CLOEXEC, 0));
  requireSystem(socket.get() >= 0, "making a socket");
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  (container / name).string().copy(static_cast<char*>(address.sun_path), sizeof address.sun_path);
  requireSystem(
      ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0,
      "binding");
  return socket;
}

Descriptor listening(Descriptor socket) {
  requireSystem(::listen(socket.get(), QueueSize) == 0, "listening");
  return socket;
}

/// Another process calls listen(), and goes on with `goOn`. Returns when that has ended or stopped.
Descriptor listenedOnByChild(Descriptor socket, void (*goOn)()) {
  const pid_t child = ::fork();
  requireSystem(child >= 0, "starting a process");
  if (child == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::ignore = ::listen(socket.get(), QueueSize);
    goOn();
    ::_exit(EXIT_SUCCESS);
  }
  ::waitpid(child, nullptr, WUNTRACED);
  return socket;
}

}  // namespace

std::vector<Mistake> socketMistakes() {
  return {
      {.name = "container-is-open-to-others",
       .fails = {"container.mode"},
       .hint = "is 0755: chmod 700 ",
       .listen =
           [](const fs::path& container) {
             makeContainer(container, 0755);
             return listening(boundSocket(container));
           }},
      {.name = "socket-is-open-to-others",
       .fails = {},
       .hint = "acp.sock is 0666",
       .warns = {"socket.present"},
       .listen =
           [](const fs::path& container) {
             makeContainer(container);
             Descriptor socket = listening(boundSocket(container));
             requireSystem(::chmod((container / "acp.sock").c_str(), 0666) == 0, "opening it");
             return socket;
           }},
      {.name = "socket-has-another-name",
       .fails = {"socket.present"},
       .hint = "there is korvan.sock, but no acp.sock",
       .status = 3,
       .listen =
           [](const fs::path& container) {
             makeContainer(container);
             return listening(boundSocket(container, SOCK_STREAM, "korvan.sock"));
           }},
      {.name = "no-socket",
       .fails = {"socket.present"},
       .hint = "no host listens here",
       .status = 3,
       .listen =
           [](const fs::path& container) {
             makeContainer(container);
             return Descriptor();
           }},
      {.name = "socket-is-a-file",
       .fails = {"socket.present"},
       .hint = "a regular file is in its place",
       .status = 3,
       .listen =
           [](const fs::path& container) {
             makeContainer(container);
             const std::ofstream file(container / "acp.sock");
             return Descriptor();
           }},
      {.name = "socket-is-for-datagrams",
       .fails = {"socket.kind"},
       .hint = "a datagram socket",
       .status = 3,
       .listen =
           [](const fs::path& container) {
             makeContainer(container);
             return boundSocket(container, SOCK_DGRAM);
           }},
      {.name = "socket-is-for-packets",
       .fails = {"socket.kind"},
       .hint = "a SOCK_SEQPACKET socket",
       .status = 3,
       .listen =
           [](const fs::path& container) {
             makeContainer(container);
             return listening(boundSocket(container, SOCK_SEQPACKET));
           }},
      {.name = "nobody-listens",
       .fails = {"socket.kind"},
       .hint = "a stale file: nobody listens",
       .status = 3,
       .listen =
           [](const fs::path& container) {
             makeContainer(container);
             return boundSocket(container);
           }},
      {.name = "nobody-accepts",
       .fails = {"socket.accepts"},
       .hint = "connected, but nobody calls accept()",
       .listen =
           [](const fs::path& container) {
             makeContainer(container);
             static const Descriptor listener = listening(boundSocket(container));
             return Descriptor();
           }},
      {.name = "another-user-listens",
       .fails = {"peer.user"},
       .hint = "the host listens as the user nobody, 65534",
       .asRoot = true,
       .listen =
           [](const fs::path& container) {
             constexpr uid_t Nobody = 65534;
             makeContainer(container);
             Descriptor socket = boundSocket(container);
             requireSystem(::seteuid(Nobody) == 0, "becoming another user");
             socket = listening(std::move(socket));
             requireSystem(::seteuid(0) == 0, "becoming root again");
             return socket;
           }},
      {.name = "a-process-that-ended-listened",
       .fails = {"peer.listener"},
       .hint = ", which has ended, made the socket; the signed program itself must bind and listen",
       .listen =
           [](const fs::path& container) {
             makeContainer(container);
             return listenedOnByChild(boundSocket(container), [] {});
           }},
      {.name = "another-program-listens",
       .fails = {"peer.listener"},
       .hint = "made the socket; the signed program itself must bind and listen",
       .listen =
           [](const fs::path& container) {
             makeContainer(container);
             return listenedOnByChild(boundSocket(container),
                                      [] { ::execlp("sh", "sh", "-c", "kill -STOP $$", nullptr); });
           }},
  };
}

}  // namespace korvan::lab::broken
