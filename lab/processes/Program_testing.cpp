#include "lab/processes/Program_testing.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <glib.h>
#include <sys/wait.h>
#include <unistd.h>

#include "lab/support/Descriptor.h"

namespace korvan::lab {
namespace {

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
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (std::string& argument : command) {
    arguments.push_back(argument.data());
  }
  arguments.push_back(nullptr);
  int input = -1;
  int output = -1;
  int errors = -1;
  // It takes signals that whoever runs the tests may ignore or block.
  if (g_spawn_async_with_pipes(nullptr, arguments.data(), nullptr, G_SPAWN_DO_NOT_REAP_CHILD,
                               nullptr, nullptr, &processIdentifier_, &input, &output, &errors,
                               nullptr) == 0) {
    throw std::runtime_error(command.front() + " does not start");
  }
  input_ = Descriptor(input);
  output_ = Descriptor(output);
  errors_ = Descriptor(errors);
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

std::string Program::readOutput() { return std::exchange(unread_, {}) + readAll(output_.get()); }

Program::Result Program::finish() {
  closeInput();
  Result result;
  result.output = readOutput();
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
