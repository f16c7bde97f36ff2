#include "lab/soak/SoakSite.h"

#include <string>

#include "lab/processes/Stage.h"

namespace korvan::lab::soak {
namespace {

namespace fs = std::filesystem;

constexpr const char* HostName = "korvan-soak-host";

/// A copy, since programs are told apart by their files.
fs::path copyHost(const fs::path& directory) {
  fs::create_directories(directory / "scripts");
  const fs::path original = builtProgram(HostName, fs::path("soak") / "host");
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
