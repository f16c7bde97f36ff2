#include "lab/commands/ReportCommand.h"

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "lab/commands/CallWatch.h"
#include "lab/commands/HostChoice.h"
#include "lab/commands/Narrator.h"
#include "lab/commands/SystemOptions.h"
#include "lab/site/SignIn.h"
#include "lab/site/WireAnswer.h"
#include "lab/support/Base64UrlOption.h"
#include "lab/support/DomainOption.h"
#include "lab/support/HelpPage.h"

namespace korvan::lab {
namespace {

constexpr std::string_view ReportHelpPage =
    R"(Usage: korvan-lab report KIND [options]

Passes a web site's report on to the extension, and shows whether it was sent to
the host. Nobody waits for the answer. Unless you name a host, starts a sample
host and reports about its passkey. KIND and its options:

  updated-user-name        the user's name is --new-name NAME; --user-handle ID
  unknown-credential       the site does not know --credential ID
  accepted-credentials     the site accepts only --credential ID, which may be
                           repeated; --user-handle ID
  --relying-party DOMAIN   the web site; default: example.com
  --container DIR|none     the app group's container
  --host-application EXECUTABLE|none
                           the host application; default: the desktop's
  --trust-anchor FILE.pem  the root of trusted signatures; default: the build's
  --timeout SECONDS        gives up when the host takes longer; default: never
  --show-messages          accepted; messages are always printed
  --help                   this page

IDs are base64url. Exit status: 0 when the report was sent, 1 when not, 2 for a
usage error, 3 without a host.

Example:
  korvan-lab report updated-user-name --new-name 'Alice B.'
)";

struct ReportOptions {
  SystemOptions system;
  std::string relyingParty = "example.com";
  std::string userHandle;
  std::string newName;
  std::vector<std::string> credentials;
};

/// The passkey of the command's own host, of which it reports unless told otherwise.
using OwnPasskey = std::optional<EnrolledPasskey>;
using MakeReport = std::function<Call(const ReportOptions& options, const OwnPasskey& passkey)>;

CLI::ValidationError missing(std::string_view option, const ReportOptions& options) {
  return CLI::ValidationError(std::string(option) + " is missing: there is no passkey for " +
                              options.relyingParty + " in a host of the lab's own to report on");
}

Data userHandleOf(const ReportOptions& options, const OwnPasskey& passkey) {
  if (!options.userHandle.empty()) {
    return bytesOf(options.userHandle);
  }
  if (!passkey) {
    throw missing("--user-handle", options);
  }
  return passkey->identity.userHandle.value();
}

Call updatedUserName(const ReportOptions& options, const OwnPasskey& passkey) {
  return updatedUserNameReport(options.relyingParty, userHandleOf(options, passkey),
                               options.newName);
}

Call unknownCredential(const ReportOptions& options, const OwnPasskey& passkey) {
  if (options.credentials.empty() && !passkey) {
    throw missing("--credential", options);
  }
  return unknownCredentialReport(options.relyingParty, options.credentials.empty()
                                                           ? passkey->identity.credentialID.value()
                                                           : bytesOf(options.credentials.front()));
}

Call acceptedCredentials(const ReportOptions& options, const OwnPasskey& passkey) {
  const std::vector<Data> accepted = bytesOf(options.credentials);
  return acceptedCredentialsReport(options.relyingParty, userHandleOf(options, passkey),
                                   PropertyListValue::Array(accepted.begin(), accepted.end()));
}

bool send(LabSettings settings, const Call& call) {
  Narrator narrator = Narrator::toStandardOutput();
  narrator.heading("Reporting to the extension");
  CallRunner runner(settings);
  watch(runner, narrator, true);
  const CallResult result = runner.run(call);
  narrator.silence(result);
  narrator.result(result, judgeWireAnswer(runner.propertyLists(), result, true));
  const bool delivered = wasDelivered(result);
  return narrator.verdict(delivered, delivered ? "The report was sent to the host"
                                               : "The report is lost: it is sent once, and no "
                                                 "host is opened for it");
}

int run(const ReportOptions& options, const MakeReport& make) {
  if (namesHost(options.system)) {
    const Call call = make(options, std::nullopt);
    return useHost(options.system.settings(),
                   [&call](const LabSettings& settings) { return send(settings, call); });
  }
  return useOwnHost(
      options.system.settings(), [&](const LabSettings& settings, const nlohmann::json& ready) {
        return send(settings, make(options, enrolledPasskey(ready, options.relyingParty)));
      });
}

CLI::App& addKind(CLI::App& command, const std::string& name,
                  const std::shared_ptr<ReportOptions>& options, MakeReport make, int& exitStatus) {
  CLI::App& kind = *command.add_subcommand(name);
  options->system.addTo(kind);
  kind.add_option("--relying-party", options->relyingParty)->check(isDomain());
  setHelpPage(kind, ReportHelpPage);
  kind.callback(
      [options, make = std::move(make), &exitStatus] { exitStatus = run(*options, make); });
  return kind;
}

}  // namespace

void addReportCommand(CLI::App& app, int& exitStatus) {
  CLI::App& command = *app.add_subcommand("report", "passes on what a web site reports");
  command.require_subcommand(1);
  setHelpPage(command, ReportHelpPage);
  const auto options = std::make_shared<ReportOptions>();

  CLI::App& name = addKind(command, "updated-user-name", options, updatedUserName, exitStatus);
  name.add_option("--new-name", options->newName)->required();
  name.add_option("--user-handle", options->userHandle)->check(isBase64Url());

  CLI::App& unknown =
      addKind(command, "unknown-credential", options, unknownCredential, exitStatus);
  unknown.add_option("--credential", options->credentials)->expected(1)->check(isBase64Url());

  CLI::App& accepted =
      addKind(command, "accepted-credentials", options, acceptedCredentials, exitStatus);
  accepted.add_option("--credential", options->credentials)
      ->allow_extra_args(false)
      ->check(isBase64Url());
  accepted.add_option("--user-handle", options->userHandle)->check(isBase64Url());
}

}  // namespace korvan::lab
