#include "lab/support/TemporaryDirectory.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <glib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace korvan::lab {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view Prefix = "korvan-lab-";
constexpr std::string_view LockedPrefix = "korvan-lab.";

fs::path newDirectory(std::string_view prefix) {
  std::string pattern = placeOfTemporaryDirectories() / (std::string(prefix) + "XXXXXX");
  if (::mkdtemp(pattern.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(),
                            "cannot make a temporary directory such as " + pattern);
  }
  return pattern;
}

Descriptor opened(const fs::path& directory) {
  return Descriptor(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

bool isOfThisUser(const Descriptor& directory) {
  struct stat status{};
  return ::fstat(directory.get(), &status) == 0 && status.st_uid == ::geteuid();
}

}  // namespace

TemporaryDirectory::TemporaryDirectory(IfKilled ifKilled) {
  if (ifKilled == IfKilled::stays) {
    path_ = newDirectory(Prefix);
    return;
  }
  do {
    path_ = newDirectory(LockedPrefix);
    lock_ = opened(path_);
    ::flock(lock_.get(), LOCK_EX);
    // Before it was locked, it could be taken for an abandoned one.
  } while (!fs::exists(path_));
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

fs::path placeOfTemporaryDirectories() { return g_get_tmp_dir(); }

void removeAbandonedDirectories(const fs::path& place) {
  std::error_code error;
  for (fs::directory_iterator entry(place, error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    if (!entry->path().filename().string().starts_with(LockedPrefix)) {
      continue;
    }
    const Descriptor directory = opened(entry->path());
    if (isOfThisUser(directory) && ::flock(directory.get(), LOCK_EX | LOCK_NB) == 0) {
      std::error_code ignored;
      fs::remove_all(entry->path(), ignored);
    }
  }
}

}  // namespace korvan::lab
