#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>
#include <tuple>

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "lab/check/Catalog.h"
#include "lab/check/CheckContext.h"
#include "lab/check/Peer.h"
#include "lab/check/SocketTable.h"

namespace korvan::lab::check {
namespace {

namespace fs = std::filesystem;

std::string octal(mode_t mode) {
  constexpr unsigned BitsPerDigit = 3;
  constexpr mode_t Digit = 7;
  std::string digits;
  for (mode_t left = mode & 07777U; left != 0; left >>= BitsPerDigit) {
    digits.insert(digits.begin(), static_cast<char>('0' + (left & Digit)));
  }
  return "0" + digits;
}

Result containerExists(CheckContext& context) {
  const fs::path& container = context.settings().container;
  struct stat status{};
  if (::lstat(container.c_str(), &status) == 0) {
    return passed();
  }
  return failed({.got = container.string() + ": " + errorText(errno),
                 .wanted = "the directory of the app group",
                 .hint = container.string() + " does not exist; is that a typing error?"});
}

Result containerMode(CheckContext& context) {
  const std::string container = context.settings().container;
  struct stat status{};
  ::lstat(container.c_str(), &status);
  const auto fail = [](const std::string& got, const std::string& hint) {
    return failed({.got = got,
                   .wanted = "a directory, not a link, owned by this user, with mode 0700",
                   .hint = hint});
  };
  if (S_ISLNK(status.st_mode)) {
    return fail("a symbolic link", container + " is a symbolic link: name the directory itself");
  }
  if (!S_ISDIR(status.st_mode)) {
    return fail("something else", container + " is not a directory");
  }
  if (status.st_uid != ::geteuid()) {
    return fail("a directory of the user " + std::to_string(status.st_uid),
                container + " belongs to the user " + std::to_string(status.st_uid));
  }
  if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    return fail("mode " + octal(status.st_mode),
                container + " is " + octal(status.st_mode) + ": chmod 700 " + container);
  }
  return passed();
}

std::string_view kindOf(mode_t mode) {
  if (S_ISREG(mode)) {
    return "a regular file";
  }
  return S_ISDIR(mode) ? "a directory" : "something that is not a socket";
}

/// The names of sockets in the container, since a host may have chosen another name.
std::vector<std::string> socketNamesIn(const fs::path& container) {
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(container, error)) {
    if (entry.is_socket(error)) {
      names.push_back(entry.path().filename());
    }
  }
  return names;
}

std::string hintOnMissingSocket(CheckContext& context) {
  if (const auto names = socketNamesIn(context.settings().container); !names.empty()) {
    return "there is " + names.front() + ", but no acp.sock";
  }
  if (!context.hasProgram()) {
    return "no host listens here; start it, or have check-host start it with --launch";
  }
  const std::string& failure = context.launchRecord().failure;
  return failure.empty() ? "the program " + context.program().ending() + ", and has made no socket"
                         : "the program cannot be started: " + failure;
}

Result socketPresent(CheckContext& context) {
  struct stat status{};
  if (::stat(context.socketPath().c_str(), &status) != 0) {
    return failed({.got = context.socketPath() + ": " + errorText(errno),
                   .wanted = "a socket",
                   .hint = hintOnMissingSocket(context)});
  }
  if (S_ISSOCK(status.st_mode)) {
    return (status.st_mode & (S_IRWXG | S_IRWXO)) == 0
               ? passed()
               : warned({.got = "mode " + octal(status.st_mode),
                         .wanted = "mode 0600",
                         .hint = "acp.sock is " + octal(status.st_mode) +
                                 ", and only the container keeps others out: chmod it to 0600"});
  }
  const std::string kind(kindOf(status.st_mode));
  return failed({.got = kind,
                 .wanted = "a socket",
                 .hint = kind + " is in its place: " + context.socketPath()});
}

Result socketPath(CheckContext& context) {
  const std::size_t size = context.socketPath().size();
  if (size <= LocalSockets::MaxPathSize) {
    return passed();
  }
  return failed({.got = std::to_string(size) + " bytes: " + context.socketPath(),
                 .wanted = "at most " + std::to_string(LocalSockets::MaxPathSize) + " bytes",
                 .hint = "the path has " + std::to_string(size) +
                         " bytes: macOS takes no longer one than 103"});
}

/// What connecting with a socket of this type comes to, as an `errno` value.
int connectError(const std::string& path, int type) {
  const Descriptor socket(::socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  return LinuxLocalSockets().connect(socket.get(), path) == 0 ? 0 : errno;
}

std::string hintOnConnectError(const std::string& path, int error) {
  if (error == ECONNREFUSED) {
    return "a stale file: nobody listens";
  }
  if (error != EPROTOTYPE) {
    return errorText(error);
  }
  return connectError(path, SOCK_DGRAM) == 0 ? "a datagram socket: make it with SOCK_STREAM"
                                             : "a SOCK_SEQPACKET socket: make it with SOCK_STREAM";
}

Result socketKind(CheckContext& context) {
  try {
    std::ignore = context.silentConnection();
    return passed();
  } catch (const CheckEnd&) {
    const int error = connectError(context.socketPath(), SOCK_STREAM);
    // With a full queue it is a stream socket that somebody listens on; see socket.accepts.
    if (error == 0 || error == EAGAIN) {
      return passed();
    }
    return failed({.got = "connecting: " + errorText(error),
                   .wanted = "a stream socket that accepts a connection",
                   .hint = hintOnConnectError(context.socketPath(), error)});
  }
}

Result socketAccepts(CheckContext& context) {
  std::ignore = context.silentConnection();
  const auto accepted = [&] {
    return std::ranges::none_of(socketsAt(context.socketPath()),
                                [](const SocketEntry& each) { return each.inode == 0; });
  };
  if (context.waits().until(accepted, "the host to accept a connection", std::chrono::seconds(1))) {
    return passed();
  }
  return failed({.got = "a connection that waits to be accepted",
                 .wanted = "accept() within a second",
                 .hint = "connected, but nobody calls accept()"});
}

Result peerUser(CheckContext& context) {
  const Peer peer = peerOf(context);
  const std::int64_t user = context.sockets().getuid();
  if (peer.user == user) {
    return passed();
  }
  return failed({.got = "a listener of the user " + nameOfUser(peer.user),
                 .wanted = "one of the user " + nameOfUser(user),
                 .hint = "the host listens as the user " + nameOfUser(peer.user) +
                         "; run it as the one whom the extension runs as"});
}

bool isSigned(const std::string& executable) { return fs::exists(executable + ".p7s"); }

/// True when a signed program serves what another one listens on.
bool isServedBySignedProgram(const CheckContext& context) {
  for (const SocketEntry& socket : socketsAt(context.socketPath())) {
    if (socket.listens && std::ranges::any_of(holdersOf(socket), [](pid_t each) {
          return isSigned(executableOf(each));
        })) {
      return true;
    }
  }
  return false;
}

Result peerListener(CheckContext& context) {
  const Peer peer = peerOf(context);
  if (!peer.executable.empty() &&
      (isSigned(peer.executable) || !isServedBySignedProgram(context))) {
    return passed();
  }
  const std::string who =
      "process " + std::to_string(peer.process) +
      (peer.executable.empty() ? ", which has ended," : ", " + peer.executable + ",");
  return failed({.got = who + " called listen()",
                 .wanted = "a listener that is the signed program",
                 .hint = who + " made the socket; the signed program itself must bind and listen"});
}

}  // namespace

std::vector<Check> socketChecks() {
  return {
      {.name = "container.exists",
       .passes = "the app group's container is there",
       .see = "the-socket",
       .run = containerExists},
      {.name = "container.mode",
       .passes = "it is a directory, not a link, owned by this user, with mode 0700",
       .after = {"container.exists"},
       .see = "the-socket",
       .run = containerMode},
      {.name = "socket.present",
       .passes = "acp.sock is a socket, with mode 0600",
       .after = {"container.exists"},
       .see = "the-socket",
       .run = socketPresent},
      {.name = "socket.path",
       .passes = "its path has at most 103 bytes",
       .see = "the-socket",
       .run = socketPath},
      {.name = "socket.kind",
       .passes = "it is a stream socket that somebody listens on",
       .after = {"socket.present"},
       .see = "the-socket",
       .run = socketKind},
      {.name = "socket.accepts",
       .passes = "a connection is accepted within a second",
       .needs = {Need::host},
       .after = {"socket.kind"},
       .see = "the-socket",
       .run = socketAccepts},
      {.name = "peer.user",
       .passes = "the listener runs as this user",
       .needs = {Need::host},
       .after = {"socket.kind"},
       .see = "whom-the-extension-trusts",
       .run = peerUser},
      {.name = "peer.listener",
       .passes = "the process that listens is the signed program",
       .needs = {Need::host},
       .after = {"socket.kind", "peer.user"},
       .see = "whom-the-extension-trusts",
       .run = peerListener},
  };
}

}  // namespace korvan::lab::check
