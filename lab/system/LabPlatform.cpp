#include "lab/system/LabPlatform.h"

#include <filesystem>
#include <optional>
#include <string>

namespace korvan::lab {
namespace {

LinuxAppGroupContainers containersFor(const LabSettings& settings) {
  if (!settings.container) {
    return {};
  }
  return LinuxAppGroupContainers(settings.container == LabSettings::None ? std::nullopt
                                                                         : settings.container);
}

/// Beside the folder that the program is in, as the build puts it.
std::filesystem::path catalogDirectory() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path() / "locale";
}

WorkspaceHost hostFor(const LabSettings& settings) {
  if (!settings.hostApplication) {
    return DesktopHost();
  }
  if (settings.hostApplication == LabSettings::None) {
    return NoHost();
  }
  return HostExecutable{*settings.hostApplication};
}

}  // namespace

LabPlatform::LabPlatform(const LabSettings& settings)
    : mainContext(g_main_context_ref(g_main_context_default()), g_main_context_unref),
      systemQueues(mainContext.get()),
      queues(systemQueues, mainContext.get()),
      appGroupContainers(containersFor(settings)),
      patience(settings.timeout),
      clock(systemClock, patience),
      codeSigning(settings.trustAnchorPem),
      localSockets(systemSockets, patience),
      localizedStrings(catalogDirectory()),
      operatingSystem(settings.operatingSystemVersion),
      workspace(hostFor(settings), patience) {}

}  // namespace korvan::lab
