#include "lab/commands/HostChoice.h"

#include <cerrno>
#include <filesystem>
#include <optional>

#include <fcntl.h>

#include "channel/HostIdentifiers.h"
#include "lab/processes/Stage.h"
#include "lab/processes/Supervisor.h"
#include "lab/support/Descriptor.h"
#include "lab/support/ExitStatus.h"
#include "platform/linux/LinuxAppGroupContainers.h"
#include "platform/linux/LinuxLocalSockets.h"

namespace korvan::lab {
namespace {

int exitStatus(bool wentWell) { return wentWell ? Well : NotVerified; }

std::optional<std::filesystem::path> containerOf(const LabSettings& settings) {
  if (settings.container == LabSettings::None) {
    return std::nullopt;
  }
  return settings.container ? std::filesystem::path(*settings.container)
                            : LinuxAppGroupContainers().locate(AppGroupIdentifier);
}

/// True when a host listens.
bool hostListens(const LabSettings& settings) {
  const auto container = containerOf(settings);
  const LinuxLocalSockets sockets;
  const Descriptor socket(container ? sockets.socket() : -1);
  if (socket.get() < 0) {
    return false;
  }
  // One that accepts no connection must not hold up the command's end.
  ::fcntl(socket.get(), F_SETFL, O_NONBLOCK);
  return sockets.connect(socket.get(), (*container / "acp.sock").string()) == 0 || errno == EAGAIN;
}

}  // namespace

bool namesHost(const SystemOptions& options) {
  return !options.container.empty() || !options.hostApplication.empty();
}

int useHost(const LabSettings& settings, const HostUser& use) {
  if (use(settings)) {
    return Well;
  }
  return hostListens(settings) ? NotVerified : HostAbsent;
}

int useOwnHost(LabSettings settings, const OwnHostUser& use) {
  return runSupervised([&](const std::filesystem::path& directory) {
    Stage stage(directory);
    settings.container = stage.container();
    SampleHostProcess& host = stage.startHost(sampleHostProgram(), {});
    return exitStatus(use(settings, host.nextEvent()));
  });
}

}  // namespace korvan::lab
