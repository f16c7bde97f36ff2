#include "lab/processes/Program_testing.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "lab/support/Descriptor.h"

namespace korvan::lab {
namespace {

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
      throw std::system_error(errno, std::generic_category(), "pipe2");
    }
    reading = Descriptor(ends[0]);
    writing = Descriptor(ends[1]);
  }
  Descriptor reading;
  Descriptor writing;
};

std::string readSome(int descriptor) {
  std::array<char, 4096> some{};
  ssize_t count = 0;
  while ((count = ::read(descriptor, some.data(), some.size())) < 0 && errno == EINTR) {
  }
  return {some.data(), static_cast<std::size_t>(count)};
}

std::string readAll(int descriptor) {
  std::string all;
  for (std::string some = readSome(descriptor); !some.empty(); some = readSome(descriptor)) {
    all += some;
  }
  return all;
}

}  // namespace

Program::Program(std::vector<std::string> command) {
  Pipe input;
  Pipe output;
  Pipe errors;
  posix_spawn_file_actions_t actions{};
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input.reading.get(), STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output.writing.get(), STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, errors.writing.get(), STDERR_FILENO);
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (std::string& argument : command) {
    arguments.push_back(argument.data());
  }
  arguments.push_back(nullptr);
  // Whoever runs the tests may have signals ignored, which the program would inherit.
  sigset_t all{};
  sigfillset(&all);
  posix_spawnattr_t attributes{};
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setsigdefault(&attributes, &all);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
  const int error = ::posix_spawn(&processIdentifier_, command.front().c_str(), &actions,
                                  &attributes, arguments.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) {
    throw std::system_error(error, std::generic_category(), command.front());
  }
  input_ = std::move(input.writing);
  output_ = std::move(output.reading);
  errors_ = std::move(errors.reading);
}

Program::~Program() {
  if (processIdentifier_ > 0) {
    ::kill(processIdentifier_, SIGKILL);
    ::waitpid(processIdentifier_, nullptr, 0);
  }
}

void Program::write(std::string_view text) const {
  if (::write(input_.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    throw std::system_error(errno, std::generic_category(), "write");
  }
}

void Program::signal(int number) const { ::kill(processIdentifier_, number); }

std::string Program::readLine() {
  std::size_t end = 0;
  while ((end = unread_.find('\n')) == std::string::npos) {
    const std::string some = readSome(output_.get());
    if (some.empty()) {
      return {};
    }
    unread_ += some;
  }
  const std::string line = unread_.substr(0, end);
  unread_.erase(0, end + 1);
  return line;
}

Program::Result Program::finish() {
  closeInput();
  Result result;
  result.output = unread_ + readAll(output_.get());
  result.errors = readAll(errors_.get());
  int status = 0;
  ::waitpid(processIdentifier_, &status, 0);
  processIdentifier_ = -1;
  constexpr int SignalBase = 128;
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : SignalBase + WTERMSIG(status);
  return result;
}

Program::Result runLab(std::vector<std::string> arguments, std::string_view input) {
  arguments.insert(arguments.begin(), KORVAN_LAB);
  Program program(std::move(arguments));
  program.write(input);
  return program.finish();
}

std::vector<nlohmann::json> jsonLines(const std::string& text) {
  std::vector<nlohmann::json> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(nlohmann::json::parse(line));
  }
  return lines;
}

}  // namespace korvan::lab
