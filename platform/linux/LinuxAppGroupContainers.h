#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "platform/AppGroupContainers.h"

namespace korvan {

/// App-group containers as directories that only their owner can change.
///
/// A directory that is not there is created, with its parents, each with mode 0700. One that this
/// user does not own, that others have any right to, or that is a symbolic link is no container:
/// somebody else could put a socket of theirs into it, or see what is there.
class LinuxAppGroupContainers final : public AppGroupContainers {
 public:
  /// A directory for each group, under `korvan/app-groups` in the user's data directory:
  /// $XDG_DATA_HOME, else `.local/share` in $HOME, else in the home directory of the user database.
  /// A relative $XDG_DATA_HOME counts as unset.
  /// https://specifications.freedesktop.org/basedir-spec/latest/
  LinuxAppGroupContainers();

  /// One directory for every group, or none for any. A relative path is taken from the working
  /// directory of now.
  explicit LinuxAppGroupContainers(const std::optional<std::string>& directory);

  /// None, too, for an identifier that is no file name: an empty one, ".", "..", or one with '/' or
  /// NUL in it.
  [[nodiscard]] std::optional<std::string> containerPath(
      std::string_view groupIdentifier) const override;

 private:
  std::optional<std::filesystem::path> groupsDirectory_;
  std::optional<std::filesystem::path> everyGroupsDirectory_;
};

}  // namespace korvan
