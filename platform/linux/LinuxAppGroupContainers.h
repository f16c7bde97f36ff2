#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "platform/AppGroupContainers.h"

namespace korvan {

/// App-group containers as private directories.
///
/// A group's own directory is created if missing, with its parents, each with mode 0700; a
/// directory that was named is not. A directory that this user does not own, that grants others any
/// permission, or that is a symbolic link is rejected: somebody else could put their own socket
/// into it, or see what is there.
class LinuxAppGroupContainers final : public AppGroupContainers {
 public:
  /// One directory per group, under `korvan/app-groups` in the user's data directory:
  /// $XDG_DATA_HOME, else `.local/share` in $HOME, else in the home directory of the user database.
  /// A relative $XDG_DATA_HOME counts as unset.
  /// https://specifications.freedesktop.org/basedir-spec/latest/
  LinuxAppGroupContainers();

  /// The same directory for every group, or no container for any. A relative path is resolved now,
  /// against the working directory. If nothing is there, the container is still at that path: a
  /// host that is opened may create it.
  explicit LinuxAppGroupContainers(const std::optional<std::string>& directory);

  /// Also nullopt for an identifier that is not a file name: an empty one, ".", "..", or one that
  /// contains '/' or NUL.
  [[nodiscard]] std::optional<std::string> containerPath(
      std::string_view groupIdentifier) const override;

  /// Where the group's container is or would be. Creates and checks nothing.
  [[nodiscard]] std::optional<std::filesystem::path> locate(std::string_view groupIdentifier) const;

 private:
  std::optional<std::filesystem::path> groupsDirectory_;
  std::optional<std::filesystem::path> everyGroupsDirectory_;
};

}  // namespace korvan
