#include "lab/commands/SignInCommand.h"

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>

#include <CLI/CLI.hpp>

#include "lab/commands/HostChoice.h"
#include "lab/commands/Narrator.h"
#include "lab/commands/SystemOptions.h"
#include "lab/site/SignIn.h"
#include "lab/support/DomainOption.h"
#include "lab/support/FileContents.h"
#include "lab/support/HelpPage.h"
#include "lab/system/Screen.h"

namespace korvan::lab {
namespace {

constexpr std::string_view SignInHelpPage =
    R"(Usage: korvan-lab sign-in [options]

Signs in with a passkey as a browser does, and checks the answer as the web site
does. Starts a sample host of its own unless you name one.

  --relying-party DOMAIN   the web site; default: example.com
  --interactive            may open the host application and show the notice,
                           in a window, or on the terminal without a display
  --list                   the same, and lets the host choose the passkey
  --container DIR|none     the app group's container
  --host-application EXECUTABLE|none
                           the host application; default: the desktop's
  --trust-anchor FILE.pem  the root of trusted signatures; default: the build's
  --public-key FILE.pem    the passkey's public key, for a host of your own;
                           without it the signature is not checked
  --help                   this page

Exit status: 0 when the sign-in was verified, otherwise 1.

Example:
  korvan-lab sign-in --interactive
)";

struct SignInOptions {
  SystemOptions system;
  std::string relyingParty = "example.com";
  std::string publicKeyFile;
  bool interactive = false;
  bool list = false;

  [[nodiscard]] SignInMode mode() const {
    if (list) {
      return SignInMode::list;
    }
    return interactive ? SignInMode::interactive : SignInMode::silent;
  }
};

std::optional<RegisteredPasskey> registeredPasskey(const SignInOptions& options) {
  if (options.publicKeyFile.empty()) {
    return std::nullopt;
  }
  try {
    return RegisteredPasskey{.key = PublicKey::fromPem(contentsOf(options.publicKeyFile)),
                             .credentialID = std::nullopt,
                             .userHandle = std::nullopt};
  } catch (const std::invalid_argument& flaw) {
    throw CLI::ValidationError("--public-key", options.publicKeyFile + " " + flaw.what());
  } catch (const std::system_error& error) {
    throw CLI::ValidationError("--public-key", error.what());
  }
}

/// What a system knows of a passkey that it has never seen.
PasskeyCredentialIdentity anyPasskeyOf(const std::string& relyingParty) {
  PasskeyCredentialIdentity identity;
  identity.relyingPartyIdentifier = relyingParty;
  return identity;
}

bool tell(Narrator& narrator, const RelyingParty& relyingParty, const SignInResult& result) {
  narrator.result(result.call, result.findings);
  const std::string duration = " (" + durationText(result.call.milliseconds) + ")";
  return narrator.verdict(result.verified(),
                          (result.verified() ? "Signed in to " : "No verified sign-in to ") +
                              relyingParty.identifier() + duration);
}

bool signInWith(const SignInOptions& options, const LabSettings& settings,
                const PasskeyCredentialIdentity& identity,
                const std::optional<RegisteredPasskey>& registered) {
  Narrator narrator = Narrator::toStandardOutput();
  // A site that lets the user take part asks for the verification too.
  const RelyingParty relyingParty(options.relyingParty,
                                  options.mode() == SignInMode::silent
                                      ? RelyingParty::UserVerification::preferred
                                      : RelyingParty::UserVerification::required);
  narrator.heading("Signing in to " + relyingParty.identifier());
  narrator.say("The client data is " + relyingParty.clientDataJSON());
  CallRunner runner(settings);
  return tell(narrator, relyingParty,
              signIn(runner, options.mode(), relyingParty, identity, registered));
}

int run(const SignInOptions& options) {
  LabSettings chosen = options.system.settings();
  if (options.mode() != SignInMode::silent) {
    chosen.noticeMode = noticeForPeople();
  }
  if (namesHost(options.system) || !options.publicKeyFile.empty()) {
    return useHost(chosen, [&options](const LabSettings& settings) {
      return signInWith(options, settings, anyPasskeyOf(options.relyingParty),
                        registeredPasskey(options));
    });
  }
  return useOwnHost(chosen, [&](const LabSettings& settings, const nlohmann::json& ready) {
    const auto passkey = enrolledPasskey(ready, options.relyingParty);
    return passkey
               ? signInWith(options, settings, passkey->identity, passkey->registered)
               : signInWith(options, settings, anyPasskeyOf(options.relyingParty), std::nullopt);
  });
}

}  // namespace

void addSignInCommand(CLI::App& app, int& exitStatus) {
  CLI::App& command = *app.add_subcommand("sign-in", "signs in and checks the answer");
  const auto options = std::make_shared<SignInOptions>();
  options->system.addTo(command);
  command.add_option("--relying-party", options->relyingParty)->check(isDomain());
  command.add_option("--public-key", options->publicKeyFile);
  auto* const interactive = command.add_flag("--interactive", options->interactive);
  command.add_flag("--list", options->list)->excludes(interactive);
  setHelpPage(command, SignInHelpPage);
  command.callback([options, &exitStatus] { exitStatus = run(*options); });
}

}  // namespace korvan::lab
