#include "lab/processes/SampleHostProcess.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <string>

#include <glib.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace korvan::lab {
namespace {

constexpr std::chrono::milliseconds Patience = std::chrono::seconds(30);

/// No signal is blocked in the program, whatever this process does.
void unblockSignals(gpointer /*nothing*/) noexcept {
  sigset_t none{};
  sigemptyset(&none);
  ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
}

}  // namespace

SampleHostProcess::SampleHostProcess(const std::filesystem::path& program,
                                     const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {program};
  command.insert(command.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  pointers.reserve(command.size() + 1);
  for (std::string& word : command) {
    pointers.push_back(word.data());
  }
  pointers.push_back(nullptr);
  int output = -1;
  GError* error = nullptr;
  g_spawn_async_with_pipes(nullptr, pointers.data(), nullptr, G_SPAWN_DO_NOT_REAP_CHILD,
                           unblockSignals, nullptr, &processIdentifier_, nullptr, &output, nullptr,
                           &error);
  events_ = Descriptor(output);
  if (error != nullptr) {
    const std::string words = error->message;
    g_error_free(error);
    throw std::runtime_error(words);
  }
}

SampleHostProcess::~SampleHostProcess() { stop(); }

nlohmann::json SampleHostProcess::nextEvent() {
  while (true) {
    if (const auto end = unread_.find('\n'); end != std::string::npos) {
      const std::string line = unread_.substr(0, end);
      unread_.erase(0, end + 1);
      return nlohmann::json::parse(line);
    }
    pollfd ready{.fd = events_.get(), .events = POLLIN, .revents = 0};
    if (::poll(&ready, 1, static_cast<int>(Patience.count())) <= 0) {
      throw std::runtime_error("The sample host printed nothing for 30 seconds.");
    }
    std::array<char, 4096> some{};
    const ssize_t count = ::read(events_.get(), some.data(), some.size());
    if (count <= 0) {
      throw std::runtime_error("The sample host ended without printing another event.");
    }
    unread_.append(some.data(), static_cast<std::size_t>(count));
  }
}

void SampleHostProcess::stop() {
  if (!running_) {
    return;
  }
  running_ = false;
  ::kill(processIdentifier_, SIGTERM);
  while (::waitpid(processIdentifier_, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace korvan::lab
