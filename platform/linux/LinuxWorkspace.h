#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

#include "platform/Workspace.h"

namespace korvan {

/// The desktop: a URL goes to the default handler of its scheme, and an application is the program
/// that `<bundle identifier>.desktop` starts.
/// https://specifications.freedesktop.org/desktop-entry-spec/latest/
struct DesktopHost {};

/// One program that stands for every application. Opening a URL starts it with the URL as its one
/// argument.
struct HostExecutable {
  std::string path;
};

/// Nothing runs, and opening is refused.
struct NoHost {};

using WorkspaceHost = std::variant<DesktopHost, HostExecutable, NoHost>;

/// The desktop's or a program's part in opening URLs and counting applications.
///
/// A running application is a process of this user, other than the calling one, whose executable is
/// the program's file, links resolved. A script is therefore never found: its process runs the
/// interpreter.
class LinuxWorkspace final : public Workspace {
 public:
  explicit LinuxWorkspace(WorkspaceHost host = DesktopHost());

  /// A program is started in a session of its own, with standard streams from and to /dev/null and
  /// no other descriptor, and does not become a child of this process. False when the kernel cannot
  /// execute it: it is missing, not permitted, or in no format of a program.
  [[nodiscard]] bool openURL(std::string_view url) const override;

  [[nodiscard]] std::size_t runningApplicationCount(
      std::string_view bundleIdentifier) const override;

 private:
  const WorkspaceHost host_;
};

}  // namespace korvan
