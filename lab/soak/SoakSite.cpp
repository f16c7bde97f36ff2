#include "lab/soak/SoakSite.h"

#include <stdexcept>
#include <string>

namespace korvan::lab::soak {
namespace {

namespace fs = std::filesystem;

constexpr const char* HostName = "korvan-soak-host";

fs::path hostProgram() {
  const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
  for (const fs::path& candidate : {folder / HostName, folder / "soak" / "host" / HostName}) {
    if (fs::exists(candidate)) {
      return candidate;
    }
  }
  throw std::runtime_error("The misbehaving host is missing: there is no " +
                           (folder / HostName).string() + " and no " +
                           (folder / "soak" / "host" / HostName).string() + ".");
}

/// A copy, since programs are told apart by their files.
fs::path copyHost(const fs::path& directory) {
  fs::create_directories(directory / "scripts");
  const fs::path original = hostProgram();
  fs::path copy = directory / HostName;
  fs::copy_file(original, copy);
  fs::copy_file(original.string() + ".p7s", copy.string() + ".p7s");
  return copy;
}

}  // namespace

SoakSite::SoakSite(const fs::path& directory)
    : program(copyHost(directory)),
      containers((directory / "container").string()),
      workspace(HostExecutable{program}),
      log(directory / "log") {}

fs::path SoakSite::scriptOf(std::uint64_t number) const {
  return program.parent_path() / "scripts" / std::to_string(number);
}

fs::path SoakSite::scriptOfAny() const { return program.parent_path() / "scripts" / "any"; }

}  // namespace korvan::lab::soak
