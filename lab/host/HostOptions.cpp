#include "lab/host/HostOptions.h"

#include <CLI/CLI.hpp>

#include "lab/support/ProgramMain.h"

namespace korvan::lab::host {
namespace {

constexpr const char* Description =
    "A host application for the Korvan AutoFill extension: keeps passkeys and answers\n"
    "the extension on the socket acp.sock until SIGTERM, SIGINT or SIGHUP. Prints one\n"
    "JSON object per line: when it is ready (with its passkeys), when a request\n"
    "unlocks the vault, and after each connection.\n\n"
    "It plays a user who agrees whenever a request allows user interaction. Unlocking\n"
    "the vault counts as verifying the user, but a silent request that requires user\n"
    "verification gets \"userInteractionRequired\". A client may stall for 30 seconds.\n";

std::string emptyPathError(const std::string& path) {
  return path.empty() ? "the path is empty" : "";
}

std::string launchUrlError(const std::string& url) {
  return url.starts_with("korvan:") ? "" : "\"" + url + "\" is not a URL that opens Korvan";
}

}  // namespace

void describeHostProgram(CLI::App& app, HostOptions& options, const std::string& program) {
  addProgramManners(app, HostProgramName);
  app.description(Description);
  app.get_formatter()->column_width(20);
  app.add_option("--container", options.container,
                 "The socket's directory (default: the app group's container)")
      ->type_name("DIR")
      ->check(CLI::Validator(emptyPathError, ""));
  app.add_option("--vault", options.vault, "File that keeps the passkeys (default: memory)")
      ->type_name("FILE")
      ->check(CLI::Validator(emptyPathError, ""));
  app.add_flag("--locked", options.behavior.locked,
               "Start locked, until a request allows user interaction");
  app.add_flag("--user-cancels", options.behavior.userCancels,
               "The user cancels whatever is asked");
  app.add_option("url", options.url, "The URL that opened this program; not used")
      ->type_name("URL")
      ->check(CLI::Validator(launchUrlError, ""));
  app.footer("Example:\n  " + program + " --container \"$(mktemp -d)\" --locked");
}

}  // namespace korvan::lab::host
