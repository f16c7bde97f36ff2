#include "lab/soak/ProcessCounts.h"

#include <fstream>
#include <iterator>

#include <glib.h>
#include <malloc.h>
#include <unistd.h>

#include "platform/linux/LinuxClock.h"

namespace korvan::lab::soak {
namespace {

namespace fs = std::filesystem;

#ifdef KORVAN_SANITIZED
constexpr bool SanitizersKeepFreedMemory = true;
#else
constexpr bool SanitizersKeepFreedMemory = false;
#endif

constexpr double Patience = 5.0;
constexpr std::uint32_t LookAgainMicroseconds = 10'000;

std::size_t residentBytes() {
  std::ifstream statm("/proc/self/statm");
  std::size_t total = 0;
  std::size_t resident = 0;
  statm >> total >> resident;
  return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

/// Nothing tells of a detached thread's end, so this looks again and again.
void awaitThreads(std::size_t most) {
  const LinuxClock clock;
  const double deadline = clock.systemUptime() + Patience;
  while (threadCount() > most && clock.systemUptime() < deadline) {
    clock.usleep(LookAgainMicroseconds);
  }
}

std::string grew(const std::string& what, std::size_t before, std::size_t after,
                 const std::string& allowed) {
  return what + " grew from " + std::to_string(before) + " to " + std::to_string(after) + "; " +
         allowed + ".";
}

}  // namespace

std::size_t entriesOf(const fs::path& directory) {
  return static_cast<std::size_t>(
      std::distance(fs::directory_iterator(directory), fs::directory_iterator()));
}

std::size_t spareThreads() {
  return static_cast<std::size_t>(g_thread_pool_get_max_unused_threads());
}

std::size_t threadCount() { return entriesOf("/proc/self/task"); }

ProcessCounts settledCounts(std::size_t threads) {
  awaitThreads(threads + spareThreads());
  ::malloc_trim(0);
  return {.descriptors = entriesOf("/proc/self/fd"),
          .threads = threadCount(),
          .residentBytes = residentBytes()};
}

std::vector<std::string> growthBetween(const ProcessCounts& before, const ProcessCounts& after) {
  std::vector<std::string> flaws;
  if (after.descriptors > before.descriptors) {
    flaws.push_back(grew("The number of open descriptors", before.descriptors, after.descriptors,
                         "none more is right"));
  }
  if (after.threads > before.threads + spareThreads()) {
    flaws.push_back(grew("The number of threads", before.threads, after.threads,
                         std::to_string(spareThreads()) + " more are right"));
  }
  if (!SanitizersKeepFreedMemory &&
      after.residentBytes > before.residentBytes + ResidentTolerance) {
    flaws.push_back(grew("Resident memory in bytes", before.residentBytes, after.residentBytes,
                         std::to_string(ResidentTolerance) + " more are right"));
  }
  return flaws;
}

}  // namespace korvan::lab::soak
