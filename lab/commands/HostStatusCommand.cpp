#include "lab/commands/HostStatusCommand.h"

#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "channel/HostIdentifiers.h"
#include "lab/check/Catalog.h"
#include "lab/check/Check.h"
#include "lab/check/CheckRunner.h"
#include "lab/check/Peer.h"
#include "lab/check/SignatureFile.h"
#include "lab/check/report/CheckReport.h"
#include "lab/commands/CheckedHost.h"
#include "lab/support/EscapeSequences.h"
#include "lab/support/ExitStatus.h"
#include "lab/support/HelpPage.h"
#include "lab/support/VisibleText.h"

namespace korvan::lab {
namespace {

using namespace check;

constexpr std::string_view HostStatusHelpPage =
    R"(Usage: korvan-lab host-status [options]

Shows who listens on the host's socket, how that program is signed, and whether
it answers, and what about it the extension would refuse.

  --container DIR          the app group's container; default: the user's own
  --trust-anchor FILE.pem  the root of trusted signatures; default: the build's
  --timeout SECONDS        the longest that a check waits; default: 10
  --help                   this page

Exit status: 0 when the extension could talk to the host, 1 when something is
wrong, 2 for a usage error, 3 when there is no host to talk to.

Example:
  korvan-lab host-status
)";

void show(std::string_view label, const std::string& value) {
  constexpr std::size_t Width = 12;
  std::cout << label << std::string(Width - label.size(), ' ') << visibleText(value) << '\n';
}

void showSignature(const Peer& peer, const CheckSettings& settings) {
  const auto facts = readSignature(peer.executable, settings.trustAnchorPem);
  if (!facts) {
    show("signature", facts.error());
    return;
  }
  show("signature", peer.executable + ".p7s");
  show("team", facts->organizationalUnit.value_or("none, or several") +
                   " (wanted: " + std::string(HostTeamIdentifier) + ")");
  show("identifier", facts->commonName.value_or("none, or several") +
                         " (wanted: " + std::string(HostBundleIdentifier) + ")");
  show("issued by", facts->issuer + " (trust anchor: " + facts->anchor + ")");
  show("valid", "from " + dateOf(facts->validFrom) + " until " + dateOf(facts->validUntil));
}

void showHost(CheckContext& context) {
  show("container", context.settings().container);
  show("socket", context.socketPath());
  try {
    const Peer peer = peerOf(context);
    show("process", std::to_string(peer.process) +
                        (peer.executable.empty() ? " (has ended, or is another user's)" : ""));
    show("user", nameOfUser(peer.user));
    if (!peer.executable.empty()) {
      show("executable", peer.executable + (peer.replaced ? " (replaced since)" : ""));
      showSignature(peer, context.settings());
    }
  } catch (const CheckEnd& end) {
    show("listener", end.result().findings.hint);
  }
  std::cout << '\n';
}

int run(const CheckedHost& options) {
  const std::vector<std::string> parts = {"container.*", "socket.*", "peer.*", "signature.*",
                                          "answer.ok"};
  CheckReports reports;
  reports.push_back(
      std::make_unique<PeopleReport>(std::cout, outputTakesEscapeSequences(), "host-status"));
  CheckSettings settings = options.settings();
  settings.attended = false;
  CheckContext context(std::move(settings),
                       [&](const std::string& sentence) { reports.front()->say(sentence); });
  showHost(context);
  const Counts counts = runChecks(chosenChecks(allChecks(), parts, {}), context, reports);
  if (counts.failed == 0) {
    return Well;
  }
  return context.hasConnected() ? NotVerified : HostAbsent;
}

}  // namespace

void addHostStatusCommand(CLI::App& app, int& exitStatus) {
  CLI::App& command = *app.add_subcommand("host-status", "shows who listens, and how it is signed");
  const auto options = std::make_shared<CheckedHost>();
  options->addTo(command);
  setHelpPage(command, HostStatusHelpPage);
  command.callback([options, &exitStatus] { exitStatus = run(*options); });
}

}  // namespace korvan::lab
