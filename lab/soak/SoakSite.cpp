#include "lab/soak/SoakSite.h"

#include <stdexcept>

namespace korvan::lab::soak {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view HostName = "korvan-soak-host";

/// A copy, since programs are told apart by their files.
fs::path copyHost(const fs::path& directory, const SoakPlan& plan) {
  fs::create_directory(directory);
  const fs::path original = soakHostProgram();
  fs::path copy = directory / HostName;
  fs::copy_file(original, copy);
  fs::copy_file(original.string() + ".p7s", copy.string() + ".p7s");
  plan.writeTo(directory / "plan");
  return copy;
}

}  // namespace

fs::path soakHostProgram() {
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

SoakSite::SoakSite(const fs::path& directory, const SoakPlan& plan)
    : program(copyHost(directory, plan)),
      containers((directory / "container").string()),
      workspace(HostExecutable{program}),
      log(directory / "log") {}

}  // namespace korvan::lab::soak
