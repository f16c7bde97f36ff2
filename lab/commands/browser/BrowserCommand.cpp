#include "lab/commands/browser/BrowserCommand.h"

#include <chrono>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "lab/browser/BrowserProcess.h"
#include "lab/browser/BrowserProfile.h"
#include "lab/commands/HostChoice.h"
#include "lab/commands/Narrator.h"
#include "lab/commands/SystemOptions.h"
#include "lab/commands/browser/BrowserSession.h"
#include "lab/processes/Stage.h"
#include "lab/processes/Supervisor.h"
#include "lab/support/ExitStatus.h"
#include "lab/support/HelpPage.h"

namespace korvan::lab {
namespace {

constexpr std::string_view BrowserHelpPage =
    R"(Usage: korvan-lab browser [options]

Opens Chromium, in which the extension answers the passkey requests of every web
page, and prints a line for each: who asked, the entry points, the outcome. Has
a profile of its own, and a sample host of its own unless you name one. Ends
when the browser is closed.

  --site URL               the page to open; default: a site of the lab's own,
                           with a button for each kind of request
  --headless               without a window, as where there is no display: the
                           lab's own site then runs by itself, and OK is
                           pressed when there is a notice
  --container DIR|none     the app group's container
  --host-application EXECUTABLE|none
                           the host application; default: the desktop's
  --trust-anchor FILE.pem  the root of trusted signatures; default: the build's
  --os-version VERSION     the macOS version to play; default: 15.0
  --timeout SECONDS        refuses a request that takes longer; default: 120
  --install-by-hand DIR    puts the browser's extension and what it needs into
                           DIR, and says how to use it in your own Chromium
  --help                   this page

Exit status: 0 when the browser was closed, or the site ran well by itself, 1
when not or without a browser, 2 for a usage error.

Example:
  korvan-lab browser
)";

struct BrowserOptions {
  SystemOptions system;
  std::string operatingSystemVersion;
  std::string site;
  std::string directory;
  bool headless = false;
};

LabSettings settingsFrom(const BrowserOptions& options) {
  constexpr std::chrono::seconds LongestRequest(120);
  LabSettings settings = options.system.settings();
  if (!options.operatingSystemVersion.empty()) {
    settings.operatingSystemVersion =
        parseOperatingSystemVersion(options.operatingSystemVersion).value();
  }
  settings.timeout = settings.timeout.value_or(LongestRequest);
  if (settings.container && settings.container != LabSettings::None) {
    // Bridges run in another directory.
    settings.container = std::filesystem::absolute(*settings.container);
  }
  if (settings.hostApplication && settings.hostApplication != LabSettings::None) {
    settings.hostApplication = std::filesystem::absolute(*settings.hostApplication);
  }
  return settings;
}

int openBrowser(const BrowserOptions& options, const std::string& program) {
  return runSupervised([&](const std::filesystem::path& directory) {
    Narrator narrator = Narrator::toStandardOutput();
    const Stage stage(directory);
    LabSettings settings = settingsFrom(options);
    if (!namesHost(options.system)) {
      settings.container = stage.container();
      settings.hostApplication = stage.writeLauncher({"--vault", stage.file("vault")});
    }
    const bool headless = options.headless || !hasDisplay();
    settings.noticeMode = headless ? NoticeMode::pressOk : NoticeMode::windowWhenNeeded;
    narrator.heading("Chromium asks Korvan for passkeys");
    return showInBrowser(narrator, directory, settings,
                         {.program = program, .site = options.site, .headless = headless});
  });
}

/// Nothing outside the directory is touched: it is the user's own browser.
int installByHand(const BrowserOptions& options) {
  namespace fs = std::filesystem;
  const fs::path directory = fs::absolute(options.directory);
  fs::create_directories(directory);
  const BrowserProfile profile(directory);
  LabSettings settings = settingsFrom(options);
  settings.noticeMode = NoticeMode::windowWhenNeeded;
  profile.write(settings, labProgram());
  const std::string manifests = "~/.config/chromium/NativeMessagingHosts";
  std::cout << "To have your own Chromium ask Korvan for passkeys:\n"
               "  1. Tell it of the bridge:\n"
               "       mkdir -p "
            << manifests << "\n       cp " << profile.bridgeManifest() << ' ' << manifests
            << "\n  2. Open chrome://extensions, switch Developer mode on, choose Load unpacked, "
               "and choose\n       "
            << profile.extension().string()
            << "\nOther passkeys and security keys are out of reach until you switch the extension "
               "off there.\nTo undo it, remove the extension and\n       "
            << manifests << '/' << profile.bridgeManifest().filename().string() << '\n';
  return Well;
}

int run(const BrowserOptions& options) {
  if (!options.directory.empty()) {
    return installByHand(options);
  }
  const auto program = browserProgram();
  if (!program) {
    std::cerr << "korvan-lab: Chromium is missing; on Debian, install the package chromium\n";
    return NotVerified;
  }
  return openBrowser(options, *program);
}

}  // namespace

void addBrowserCommand(CLI::App& app, int& exitStatus) {
  CLI::App& command = *app.add_subcommand("browser", "passkeys in a real browser");
  const auto options = std::make_shared<BrowserOptions>();
  options->system.addHostTo(command);
  addOperatingSystemVersionOption(command, options->operatingSystemVersion);
  command.add_option("--site", options->site);
  command.add_flag("--headless", options->headless);
  command.add_option("--install-by-hand", options->directory);
  setHelpPage(command, BrowserHelpPage);
  command.callback([options, &exitStatus] { exitStatus = run(*options); });
}

}  // namespace korvan::lab
