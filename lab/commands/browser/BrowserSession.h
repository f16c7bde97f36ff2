#pragma once

#include <filesystem>
#include <string>

#include "lab/commands/Narrator.h"
#include "lab/system/LabSettings.h"

namespace korvan::lab {

/// The lab's own program.
[[nodiscard]] std::filesystem::path labProgram();

/// What to show in a browser, and how.
struct BrowserShow {
  std::string program;
  /// A page; the lab's own site if empty, which runs by itself if the browser has no window.
  std::string site;
  bool headless = false;
};

/// Opens the browser in `directory`, tells a line for each passkey request, and returns when the
/// browser, or the page that runs by itself, has ended. Returns the exit status.
[[nodiscard]] int showInBrowser(Narrator& narrator, const std::filesystem::path& directory,
                                const LabSettings& settings, const BrowserShow& show);

}  // namespace korvan::lab
