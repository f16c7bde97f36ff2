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

/// A directory with sample hosts on one app group's container. No host is left when it goes. There
/// is one at a time in a process, which meanwhile adopts the detached processes that descend from
/// it.
class Stage {
 public:
  /// Throws std::system_error when the process cannot adopt.
  explicit Stage(std::filesystem::path directory);
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;
  ~Stage();

  [[nodiscard]] std::filesystem::path file(std::string_view name) const {
    return directory_ / name;
  }
  /// The app group's container; there is a directory only once a host has made it.
  [[nodiscard]] std::filesystem::path container() const { return file("container"); }

  /// Starts a sample host on container(); it lives until it is stopped or the stage goes.
  SampleHostProcess& startHost(const std::filesystem::path& program,
                               const std::vector<std::string>& arguments);

  /// Writes a launcher, which becomes `program` when it is opened, and gives its path. The program
  /// gets container() and these arguments as a sample host does, and its events go to the file
  /// "launched.events".
  [[nodiscard]] std::filesystem::path writeLauncher(
      const std::vector<std::string>& arguments,
      const std::filesystem::path& program = sampleHostProgram()) const;

  /// True when a process that this one or a descendant started is there, or was and has not been
  /// waited for.
  [[nodiscard]] static bool hasProcesses();

  /// Ends the host that the launcher became, if it did, and waits until it has ended.
  void stopLaunchedHost() const;

 private:
  const std::filesystem::path directory_;
  std::list<SampleHostProcess> hosts_;
};

}  // namespace korvan::lab
