#include "platform/linux/LinuxWorkspace.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#include <glib.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/SpawnSettings.h"

namespace korvan {
namespace {

namespace fs = std::filesystem;

struct ReleaseObject {
  void operator()(gpointer object) const noexcept { g_object_unref(object); }
};
struct ReleaseMemory {
  void operator()(gpointer memory) const noexcept { g_free(memory); }
};

std::optional<struct stat> statusOf(const fs::path& path) {
  struct stat status{};
  return ::stat(path.c_str(), &status) == 0 ? std::optional(status) : std::nullopt;
}

bool isSameFile(const struct stat& left, const struct stat& right) {
  return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

bool isAnotherProcess(const std::string& name) {
  return std::ranges::all_of(name, [](unsigned char c) { return std::isdigit(c) != 0; }) &&
         name != std::to_string(::getpid());
}

/// `process` is a process's directory in /proc.
bool runsForThisUser(const fs::path& process, const struct stat& executable) {
  const auto running = statusOf(process / "exe");
  if (!running || !isSameFile(*running, executable)) {
    return false;
  }
  const auto owner = statusOf(process);
  return owner && owner->st_uid == ::geteuid();
}

std::size_t processesOf(const fs::path& executablePath) {
  const auto executable = statusOf(executablePath);
  if (!executable) {
    return 0;
  }
  std::size_t count = 0;
  std::error_code error;
  for (fs::directory_iterator entry("/proc", error), end; !error && entry != end;
       entry.increment(error)) {
    const fs::path& process = entry->path();
    if (isAnotherProcess(process.filename()) && runsForThisUser(process, *executable)) {
      ++count;
    }
  }
  return count;
}

std::optional<fs::path> executableOfDesktopEntry(const std::string& identifier) {
  const std::unique_ptr<GDesktopAppInfo, ReleaseObject> entry(
      g_desktop_app_info_new(identifier.c_str()));
  if (!entry) {
    return std::nullopt;
  }
  const char* const program = g_app_info_get_executable(G_APP_INFO(entry.get()));
  if (program == nullptr) {
    return std::nullopt;
  }
  const std::unique_ptr<char, ReleaseMemory> path(g_find_program_in_path(program));
  return path ? std::optional<fs::path>(path.get()) : std::nullopt;
}

/// Starts the program as a child of a process that ends at once, so that init or the session's
/// reaper adopts it, and it never becomes a zombie of this process.
bool start(const HostExecutable& host, std::string argument) {
  const SpawnSettings settings;
  std::string path = host.path;
  const std::array<char*, 3> arguments = {path.data(), argument.data(), nullptr};
  const pid_t starter = ::fork();
  if (starter == 0) {
    // posix_spawn() and not execve() after another fork: it reports what exec said, and runs no
    // shell on a file that is in no format of a program.
    ::_exit(settings.spawn(path.c_str(), arguments.data()) ? 0 : 1);
  }
  int status = -1;
  while (starter > 0 && ::waitpid(starter, &status, 0) < 0 && errno == EINTR) {
  }
  return starter > 0 && status == 0;
}

struct Opening {
  std::string url;

  bool operator()(const DesktopHost&) const {
    return g_app_info_launch_default_for_uri(url.c_str(), nullptr, nullptr) != FALSE;
  }
  bool operator()(const HostExecutable& host) const { return start(host, url); }
  bool operator()(const NoHost&) const { return false; }
};

struct Counting {
  std::string bundleIdentifier;

  std::size_t operator()(const DesktopHost&) const {
    const auto executable = executableOfDesktopEntry(bundleIdentifier + ".desktop");
    return executable ? processesOf(*executable) : 0;
  }
  std::size_t operator()(const HostExecutable& host) const { return processesOf(host.path); }
  std::size_t operator()(const NoHost&) const { return 0; }
};

}  // namespace

LinuxWorkspace::LinuxWorkspace(WorkspaceHost host) : host_(std::move(host)) {}

bool LinuxWorkspace::openURL(std::string_view url) const {
  return std::visit(Opening{.url = std::string(url)}, host_);
}

std::size_t LinuxWorkspace::runningApplicationCount(std::string_view bundleIdentifier) const {
  return std::visit(Counting{.bundleIdentifier = std::string(bundleIdentifier)}, host_);
}

}  // namespace korvan
