// How long `korvan-lab call` takes from its start to the first byte of its request, beside a
// program that only initializes GLib and sends a byte the same way.

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "lab/support/Descriptor.h"
#include "lab/support/SystemError.h"
#include "lab/support/TemporaryDirectory.h"

namespace {

using korvan::lab::Descriptor;
using korvan::lab::requireSystem;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr std::size_t Starts = 20;

Descriptor listenAt(const std::string& path) {
  Descriptor listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  ::unlink(path.c_str());
  requireSystem(
      ::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
          ::listen(listener.get(), 1) == 0,
      "listening at " + path);
  return listener;
}

pid_t start(std::vector<std::string> command) {
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (std::string& argument : command) {
    arguments.push_back(argument.data());
  }
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  // What a call answers, once it has lost its connection, is of no interest.
  ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t process = -1;
  errno = ::posix_spawn(&process, arguments.front(), &actions, nullptr, arguments.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  requireSystem(errno == 0, "starting " + command.front());
  return process;
}

/// From the program's start until a byte of it has come.
Milliseconds timeToFirstByte(const std::string& socket, const std::vector<std::string>& command) {
  const Descriptor listener = listenAt(socket);
  const auto started = std::chrono::steady_clock::now();
  const pid_t process = start(command);
  {
    const Descriptor connection(::accept(listener.get(), nullptr, nullptr));
    char byte = 0;
    requireSystem(::read(connection.get(), &byte, 1) == 1, "reading the first byte");
  }
  const Milliseconds time = std::chrono::steady_clock::now() - started;
  ::waitpid(process, nullptr, 0);
  return time;
}

void print(const char* what, const std::string& socket, const std::vector<std::string>& command) {
  std::array<Milliseconds, Starts> times = {};
  for (auto& time : times) {
    time = timeToFirstByte(socket, command);
  }
  std::ranges::sort(times);
  const Milliseconds median = (times[(Starts - 1) / 2] + times[Starts / 2]) / 2;
  std::printf("%-40s %6.2f ms (from %.2f to %.2f)\n", what, median.count(), times.front().count(),
              times.back().count());
}

void run() {
  const korvan::lab::TemporaryDirectory directory;
  const std::string socket = directory.path() / "acp.sock";
  const std::string calls = directory.path() / "calls";
  std::ofstream(calls) << R"({"entryPoint":"prepareInterfaceForExtensionConfiguration"})" << '\n';
  std::printf("start to first byte, median of %zu\n", Starts);
  print("a program that only initializes GLib", socket, {KORVAN_BARE_START, socket});
  print("korvan-lab call", socket,
        {KORVAN_LAB, "call", "--container", directory.path(), "--host-application", "none", calls});
}

}  // namespace

int main() {
  try {
    run();
    return EXIT_SUCCESS;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "korvan-bench-start: %s\n", error.what());
    return EXIT_FAILURE;
  }
}
