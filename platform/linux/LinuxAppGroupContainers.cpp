#include "platform/linux/LinuxAppGroupContainers.h"

#include <array>
#include <cerrno>
#include <system_error>

#include <glib.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace korvan {
namespace {

namespace fs = std::filesystem;

constexpr mode_t OwnerOnly = S_IRWXU;
constexpr mode_t RightsOfOthers = S_IRWXG | S_IRWXO;

/// The absolute path that an environment variable holds.
std::optional<fs::path> pathFromEnvironment(const char* name) {
  const char* const value = g_getenv(name);
  if (value == nullptr || *value != '/') {
    return std::nullopt;
  }
  return value;
}

std::optional<fs::path> homeFromUserDatabase() {
  passwd entry{};
  passwd* found = nullptr;
  std::array<char, 16384> strings{};
  if (::getpwuid_r(::getuid(), &entry, strings.data(), strings.size(), &found) != 0 ||
      found == nullptr || *entry.pw_dir != '/') {
    return std::nullopt;
  }
  return entry.pw_dir;
}

std::optional<fs::path> userDataDirectory() {
  if (auto data = pathFromEnvironment("XDG_DATA_HOME")) {
    return data;
  }
  auto home = pathFromEnvironment("HOME");
  if (!home) {
    home = homeFromUserDatabase();
  }
  return home ? std::optional(*home / ".local" / "share") : std::nullopt;
}

fs::path withoutTrailingSlash(fs::path path) {
  while (!path.has_filename() && path.has_relative_path()) {
    path = path.parent_path();
  }
  return path;
}

std::optional<fs::path> absolutePath(const std::string& path) {
  std::error_code error;
  // With a trailing slash a symbolic link would be followed instead of refused.
  const fs::path absolute = withoutTrailingSlash(fs::absolute(path, error));
  return error ? std::nullopt : std::optional(absolute);
}

bool isFileName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." && !name.contains('/') &&
         !name.contains('\0');
}

/// Creates the directory if there is nothing at `path`. False if there is still nothing.
bool makeDirectory(const fs::path& path) {
  if (::mkdir(path.c_str(), OwnerOnly) == 0 || errno == EEXIST) {
    return true;
  }
  return errno == ENOENT && path.has_relative_path() && makeDirectory(path.parent_path()) &&
         (::mkdir(path.c_str(), OwnerOnly) == 0 || errno == EEXIST);
}

/// The path of a private directory. One that is missing would become `ifMissing`.
std::optional<std::string> container(const fs::path& path,
                                     const std::optional<std::string>& ifMissing) {
  struct stat status{};
  if (::lstat(path.c_str(), &status) != 0) {
    return errno == ENOENT ? ifMissing : std::nullopt;
  }
  const bool isPrivate = S_ISDIR(status.st_mode) && status.st_uid == ::geteuid() &&
                         (status.st_mode & RightsOfOthers) == 0;
  return isPrivate ? std::optional(path.string()) : std::nullopt;
}

}  // namespace

LinuxAppGroupContainers::LinuxAppGroupContainers() {
  if (const auto data = userDataDirectory()) {
    groupsDirectory_ = withoutTrailingSlash(*data) / "korvan" / "app-groups";
  }
}

LinuxAppGroupContainers::LinuxAppGroupContainers(const std::optional<std::string>& directory) {
  if (directory) {
    everyGroupsDirectory_ = absolutePath(*directory);
  }
}

std::optional<std::string> LinuxAppGroupContainers::containerPath(
    std::string_view groupIdentifier) const {
  const auto path = locate(groupIdentifier);
  if (!path) {
    return std::nullopt;
  }
  if (everyGroupsDirectory_) {
    return container(*path, path->string());
  }
  makeDirectory(*path);
  return container(*path, std::nullopt);
}

std::optional<fs::path> LinuxAppGroupContainers::locate(std::string_view groupIdentifier) const {
  if (!isFileName(groupIdentifier)) {
    return std::nullopt;
  }
  if (everyGroupsDirectory_) {
    return everyGroupsDirectory_;
  }
  return groupsDirectory_ ? std::optional(*groupsDirectory_ / groupIdentifier) : std::nullopt;
}

}  // namespace korvan
