#pragma once

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/linux/TemporaryDirectory_testing.h"

namespace korvan {

/// A copy of the test application, and the process that runs it, which ends with this object.
class TestApplication {
 public:
  TestApplication() {
    std::filesystem::copy_file(KORVAN_TEST_APPLICATION, executable());
    makeFifo("report");
    makeFifo("stop");
    // For reading too: opening a FIFO for writing only would wait for the program.
    stop_ = ::open((directory_.path() / "stop").c_str(), O_RDWR | O_CLOEXEC);
  }
  TestApplication(const TestApplication&) = delete;
  TestApplication& operator=(const TestApplication&) = delete;
  TestApplication(TestApplication&&) = delete;
  TestApplication& operator=(TestApplication&&) = delete;
  ~TestApplication() { stop(); }

  [[nodiscard]] std::filesystem::path executable() const {
    return directory_.path() / "application";
  }

  /// The lines that the program writes once it runs: `argument ...`, `descriptor NUMBER PATH`, etc.
  [[nodiscard]] std::vector<std::string> readReport() {
    std::ifstream report(directory_.path() / "report");
    std::vector<std::string> lines;
    for (std::string line; std::getline(report, line);) {
      lines.push_back(std::move(line));
    }
    if (lines.empty() || !lines.front().starts_with("process ")) {
      throw std::runtime_error("The test application did not report.");
    }
    process_ = std::stoi(lines.front().substr(8));
    return lines;
  }

  /// The process that wrote them.
  [[nodiscard]] pid_t process() const noexcept { return process_; }

  /// Ends the process and waits for it.
  void stop() noexcept {
    // glibc 2.36 declares pidfd_open() without C linkage.
    const int process =
        process_ > 0 ? static_cast<int>(::syscall(SYS_pidfd_open, process_, 0)) : -1;
    if (const int stop = std::exchange(stop_, -1); stop >= 0) {
      ::close(stop);
    }
    if (process >= 0) {
      pollfd ended{.fd = process, .events = POLLIN, .revents = 0};
      ::poll(&ended, 1, -1);
      ::close(process);
    }
    process_ = -1;
  }

 private:
  void makeFifo(const char* name) const {
    if (::mkfifo((directory_.path() / name).c_str(), S_IRUSR | S_IWUSR) != 0) {
      throw std::runtime_error("A FIFO could not be made.");
    }
  }

  const TemporaryDirectory directory_;
  int stop_ = -1;
  pid_t process_ = -1;
};

}  // namespace korvan
