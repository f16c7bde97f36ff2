#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

#include "platform/Workspace.h"

namespace korvan {

/// The desktop: the default handler of its scheme opens a URL, and `<bundle identifier>.desktop`
/// names an application's program.
/// https://specifications.freedesktop.org/desktop-entry-spec/latest/
struct DesktopHost {};

/// One program that stands for every application. Opening a URL starts it with the URL as its only
/// argument.
struct HostExecutable {
  std::string path;
};

/// Nothing runs, and opening is refused.
struct NoHost {};

using WorkspaceHost = std::variant<DesktopHost, HostExecutable, NoHost>;

/// Opens URLs and counts applications, on the desktop or with one program in its place.
///
/// A running application is a process of this user, other than the calling one, that runs the
/// program's file, links resolved. A script is never found, because its process runs the
/// interpreter.
class LinuxWorkspace final : public Workspace {
 public:
  explicit LinuxWorkspace(WorkspaceHost host = DesktopHost());

  /// Starts a program in a session of its own, with its standard streams on /dev/null and no other
  /// descriptor. It does not become a child of this process. False when the kernel cannot execute
  /// it: it is missing, not permitted, or not a program.
  [[nodiscard]] bool openURL(std::string_view url) const override;

  [[nodiscard]] std::size_t runningApplicationCount(
      std::string_view bundleIdentifier) const override;

 private:
  const WorkspaceHost host_;
};

}  // namespace korvan
