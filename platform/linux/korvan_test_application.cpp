// An application for tests to open. It reports how it was started into the FIFO "report" beside its
// executable, and runs until nobody holds the FIFO "stop" open for writing.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

/// Each open descriptor with what it leads to.
std::set<std::string> openDescriptors() {
  std::set<std::string> descriptors;
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    const fs::path target = fs::read_symlink(entry.path(), error);
    // The directory that is being read is one of them.
    if (!error && target.filename() != "fd") {
      descriptors.insert(entry.path().filename().string() + " " + target.string());
    }
  }
  return descriptors;
}

void report(const fs::path& fifo, const std::set<std::string>& descriptors, int count,
            char** arguments) {
  std::ofstream out(fifo);
  out << "process " << ::getpid() << '\n';
  std::for_each(arguments + 1, arguments + count,
                [&](const char* argument) { out << "argument " << argument << '\n'; });
  for (const auto& descriptor : descriptors) {
    out << "descriptor " << descriptor << '\n';
  }
  out << "session " << ::getsid(0) << '\n';
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("SigBlk") || line.starts_with("SigIgn")) {
      out << line << '\n';
    }
  }
}

void waitForEnd(int descriptor) {
  char byte = 0;
  while (::read(descriptor, &byte, 1) > 0) {
  }
}

}  // namespace

int main(int count, char** arguments) {
  const fs::path directory = fs::read_symlink("/proc/self/exe").parent_path();
  const auto descriptors = openDescriptors();
  // Before the report, after which nobody may hold it open any more.
  const int stop = ::open((directory / "stop").c_str(), O_RDONLY | O_CLOEXEC);
  report(directory / "report", descriptors, count, arguments);
  waitForEnd(stop);
}
