#include "lab/browser/BrowserProcess.h"

#include <memory>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <glib.h>
#include <unistd.h>

#include "lab/support/Descriptor.h"
#include "lab/support/SystemError.h"

namespace korvan::lab {
namespace {

using Environment = std::unique_ptr<char*, decltype(&g_strfreev)>;

/// Has the browser keep its temporary files in the profile.
Environment environmentFor(const BrowserProfile& profile) {
  char** environment = g_get_environ();
  environment = g_environ_setenv(environment, "TMPDIR", profile.temporary().c_str(), TRUE);
  // Crash reports.
  environment =
      g_environ_setenv(environment, "CHROME_CONFIG_HOME", profile.temporary().c_str(), TRUE);
  return {environment, g_strfreev};
}

Descriptor openLog(const BrowserProfile& profile) {
  constexpr int OwnerOnly = 0600;
  Descriptor log(
      ::open(profile.browserLog().c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, OwnerOnly));
  requireSystem(log.get() >= 0, "writing " + profile.browserLog().string());
  return log;
}

}  // namespace

std::optional<std::string> browserProgram() {
  const std::unique_ptr<char, decltype(&g_free)> path(g_find_program_in_path("chromium"), g_free);
  return path ? std::optional<std::string>(path.get()) : std::nullopt;
}

bool hasDisplay() {
  return g_getenv("WAYLAND_DISPLAY") != nullptr || g_getenv("DISPLAY") != nullptr;
}

bool needsNoSandbox() { return ::geteuid() == 0; }

std::vector<std::string> browserArguments(const BrowserProfile& profile,
                                          const BrowserStart& start) {
  std::vector<std::string> arguments = {
      start.program, "--user-data-dir=" + profile.userData().string(),
      "--disable-extensions-except=" + profile.extension().string(),
      "--load-extension=" + profile.extension().string(),
      "--disable-features=DisableLoadExtensionCommandLineSwitch", "--no-first-run",
      "--no-default-browser-check",
      // Leaves the keyring of the user's desktop locked.
      "--password-store=basic"};
  if (start.headless) {
    arguments.emplace_back("--headless=new");
  }
  if (start.noSandbox) {
    arguments.emplace_back("--no-sandbox");
  }
  arguments.emplace_back("about:blank");
  return arguments;
}

BrowserProcess::BrowserProcess(const BrowserProfile& profile, const BrowserStart& start,
                               Ended ended)
    : ended_(std::move(ended)) {
  std::vector<std::string> arguments = browserArguments(profile, start);
  std::vector<char*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) {
    pointers.push_back(argument.data());
  }
  pointers.push_back(nullptr);
  const Environment environment = environmentFor(profile);
  const Descriptor log = openLog(profile);
  GPid process = 0;
  GError* error = nullptr;
  g_spawn_async_with_fds(nullptr, pointers.data(), environment.get(), G_SPAWN_DO_NOT_REAP_CHILD,
                         nullptr, nullptr, &process, -1, log.get(), log.get(), &error);
  if (error != nullptr) {
    const std::string words = error->message;
    g_error_free(error);
    throw std::runtime_error(words);
  }
  watch_ = g_child_watch_add(
      process,
      [](GPid /*process*/, gint status, gpointer browser) {
        auto& self = *static_cast<BrowserProcess*>(browser);
        self.watch_ = 0;
        self.ended_(status);
      },
      this);
}

BrowserProcess::~BrowserProcess() {
  if (watch_ != 0) {
    g_source_remove(watch_);
  }
}

}  // namespace korvan::lab
