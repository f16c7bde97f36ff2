#include "lab/commands/HostChoice.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <tuple>

#include "lab/processes/Stage.h"
#include "lab/processes/Supervisor.h"

namespace korvan::lab {
namespace {

int exitStatus(bool wentWell) { return wentWell ? EXIT_SUCCESS : EXIT_FAILURE; }

/// The reader of the output may go away; the command must finish nevertheless.
void outliveTheReader() { std::ignore = std::signal(SIGPIPE, SIG_IGN); }

}  // namespace

bool namesHost(const SystemOptions& options) {
  return !options.container.empty() || !options.hostApplication.empty();
}

int useHost(const LabSettings& settings, const HostUser& use) {
  outliveTheReader();
  return exitStatus(use(settings));
}

int useOwnHost(LabSettings settings, const OwnHostUser& use) {
  outliveTheReader();
  return runSupervised([&](const std::filesystem::path& directory) {
    Stage stage(directory);
    settings.container = stage.container();
    SampleHostProcess& host = stage.startHost(sampleHostProgram(), {});
    return exitStatus(use(settings, host.nextEvent()));
  });
}

}  // namespace korvan::lab
