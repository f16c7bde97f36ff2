#include "lab/commands/HostChoice.h"

#include <filesystem>

#include "lab/processes/Stage.h"
#include "lab/processes/Supervisor.h"
#include "lab/support/ExitStatus.h"

namespace korvan::lab {
namespace {

int exitStatus(bool wentWell) { return wentWell ? Well : NotVerified; }

}  // namespace

bool namesHost(const SystemOptions& options) {
  return !options.container.empty() || !options.hostApplication.empty();
}

int useHost(const LabSettings& settings, const HostUser& use) { return exitStatus(use(settings)); }

int useOwnHost(LabSettings settings, const OwnHostUser& use) {
  return runSupervised([&](const std::filesystem::path& directory) {
    Stage stage(directory);
    settings.container = stage.container();
    SampleHostProcess& host = stage.startHost(sampleHostProgram(), {});
    return exitStatus(use(settings, host.nextEvent()));
  });
}

}  // namespace korvan::lab
