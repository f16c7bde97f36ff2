#pragma once

#include <filesystem>
#include <list>
#include <string>
#include <string_view>
#include <vector>

#include "lab/processes/SampleHostProcess.h"

namespace korvan::lab {

/// A program that is built with the lab: beside the lab's own program, or in `folder` below it.
/// Throws std::runtime_error, naming both places, when it is in neither.
[[nodiscard]] std::filesystem::path builtProgram(const std::string& name,
                                                 const std::filesystem::path& folder);

/// The sample host among them.
[[nodiscard]] std::filesystem::path sampleHostProgram();

/// A directory with a container, and the sample hosts that listen in it, which end with this
/// object. A process has one at a time, and meanwhile becomes the reaper of its detached
/// descendants.
class Stage {
 public:
  /// Throws std::system_error when the process cannot become a reaper.
  explicit Stage(std::filesystem::path directory);
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;
  ~Stage();

  [[nodiscard]] std::filesystem::path file(std::string_view name) const {
    return directory_ / name;
  }
  /// The app group's container. The first host creates the directory.
  [[nodiscard]] std::filesystem::path container() const { return file("container"); }

  /// Starts a sample host in container(). It runs until it is stopped or the stage is destroyed.
  SampleHostProcess& startHost(const std::filesystem::path& program,
                               const std::vector<std::string>& arguments);

  /// Writes a launcher, a script that becomes `program` when it is opened, and returns its path.
  /// The program gets container() and `arguments`, and writes its events to the file
  /// "launched.events".
  [[nodiscard]] std::filesystem::path writeLauncher(
      const std::vector<std::string>& arguments,
      const std::filesystem::path& program = sampleHostProgram()) const;

  /// True when a descendant of this process exists, running or not yet waited for.
  [[nodiscard]] static bool hasProcesses();

  /// Ends the host that the launcher became, if any, and waits for that.
  void stopLaunchedHost() const;

 private:
  const std::filesystem::path directory_;
  std::list<SampleHostProcess> hosts_;
};

}  // namespace korvan::lab
