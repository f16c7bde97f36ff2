#include "lab/commands/SignInCommand.h"

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <CLI/CLI.hpp>

#include "lab/commands/CallWatch.h"
#include "lab/commands/HostChoice.h"
#include "lab/commands/Narrator.h"
#include "lab/commands/PasskeyFile.h"
#include "lab/commands/SystemOptions.h"
#include "lab/commands/VerificationOption.h"
#include "lab/site/SignIn.h"
#include "lab/support/Base64UrlOption.h"
#include "lab/support/DomainOption.h"
#include "lab/support/FileContents.h"
#include "lab/support/HelpPage.h"
#include "lab/system/views/Screen.h"

namespace korvan::lab {
namespace {

constexpr std::string_view SignInHelpPage =
    R"(Usage: korvan-lab sign-in [options]

Signs in with a passkey as a browser does, and checks the answer as the web site
does. Starts a sample host of its own unless you name one.

  --relying-party DOMAIN   the web site; default: the passkey's, or example.com
  --interactive            may open the host application and show the notice,
                           in a window, or on the terminal without a display
  --list                   the same, and lets the host choose the passkey
  --allow CREDENTIAL_ID    with --list, a passkey that the web site accepts, as
                           base64url; may be repeated; default: any
  --user-verification required|preferred|discouraged
                           default: required if the user takes part, otherwise
                           preferred
  --passkey FILE           the passkey, as register --save writes it
  --public-key FILE.pem    only its public key; the request then names no
                           passkey. Without either the signature is not checked
  --container DIR|none     the app group's container
  --host-application EXECUTABLE|none
                           the host application; default: the desktop's
  --trust-anchor FILE.pem  the root of trusted signatures; default: the build's
  --timeout SECONDS        gives up when the host takes longer; default: never
  --show-messages          prints messages as they go over the socket
  --help                   this page

Exit status: 0 when the sign-in was verified, 1 when not, 2 for a usage
error, 3 without a host.

Example:
  korvan-lab sign-in --interactive
)";

struct SignInOptions {
  SystemOptions system;
  VerificationOption verification;
  std::string relyingParty;
  std::string passkeyFile;
  std::string publicKeyFile;
  std::vector<std::string> allowed;
  bool interactive = false;
  bool list = false;

  [[nodiscard]] SignInMode mode() const {
    if (list) {
      return SignInMode::list;
    }
    return interactive ? SignInMode::interactive : SignInMode::silent;
  }

  /// Without an option, the site of `passkey`, or the one that the sample host has a passkey for.
  [[nodiscard]] std::string site(const std::optional<EnrolledPasskey>& passkey) const {
    if (!relyingParty.empty()) {
      return relyingParty;
    }
    return passkey ? passkey->identity.relyingPartyIdentifier.value_or("") : "example.com";
  }
};

PublicKey publicKeyIn(const std::string& file) {
  try {
    return PublicKey::fromPem(contentsOf(file));
  } catch (const std::invalid_argument& flaw) {
    throw CLI::ValidationError("--public-key", file + " " + flaw.what());
  } catch (const std::system_error& error) {
    throw CLI::ValidationError("--public-key", error.what());
  }
}

/// The request for a sign-in with a passkey, or with any of a web site.
SignInRequest requestFor(const SignInOptions& options,
                         const std::optional<EnrolledPasskey>& passkey) {
  SignInRequest request{.mode = options.mode(),
                        .identity = {},
                        .registered = std::nullopt,
                        .allowedCredentials = bytesOf(options.allowed)};
  if (passkey) {
    request.identity = passkey->identity;
    request.registered = passkey->registered;
  } else if (!options.publicKeyFile.empty()) {
    request.registered = RegisteredPasskey{.key = publicKeyIn(options.publicKeyFile),
                                           .credentialID = std::nullopt,
                                           .userHandle = std::nullopt};
  }
  request.identity.relyingPartyIdentifier = options.site(passkey);
  return request;
}

bool tell(CallRunner& runner, Narrator& narrator, const RelyingParty& relyingParty,
          const SignInResult& result) {
  narrator.result(result.call, result.findings);
  tellLaunch(runner, narrator, result.call);
  const std::string duration = " (" + durationText(result.call.milliseconds) + ")";
  return narrator.verdict(result.verified(),
                          (result.verified() ? "Signed in to " : "No verified sign-in to ") +
                              relyingParty.identifier() + duration);
}

bool signInWith(const SignInOptions& options, const LabSettings& settings,
                const SignInRequest& request) {
  Narrator narrator = Narrator::toStandardOutput();
  // A site that lets the user take part asks for the verification too.
  const RelyingParty relyingParty(
      *request.identity.relyingPartyIdentifier,
      options.verification.levelOr(request.mode == SignInMode::silent
                                       ? RelyingParty::UserVerification::preferred
                                       : RelyingParty::UserVerification::required));
  narrator.heading("Signing in to " + relyingParty.identifier());
  narrator.say("The client data is " + relyingParty.clientDataJSON());
  if (request.mode != SignInMode::list && !request.identity.credentialID) {
    narrator.say("The request names no passkey, as the system's always do: --passkey names one.");
  }
  CallRunner runner(settings);
  watch(runner, narrator, options.system.showMessages);
  const SignInResult result = signIn(runner, relyingParty, request);
  if (options.system.showMessages) {
    narrator.silence(result.call);
  }
  return tell(runner, narrator, relyingParty, result);
}

int run(const SignInOptions& options) {
  LabSettings chosen = options.system.settings();
  if (options.mode() != SignInMode::silent) {
    chosen.noticeMode = noticeForPeople();
  }
  if (!options.passkeyFile.empty()) {
    const SignInRequest request = requestFor(options, passkeyIn(options.passkeyFile, "--passkey"));
    return useHost(chosen, [&](const LabSettings& settings) {
      return signInWith(options, settings, request);
    });
  }
  if (namesHost(options.system) || !options.publicKeyFile.empty()) {
    const SignInRequest request = requestFor(options, std::nullopt);
    return useHost(chosen, [&](const LabSettings& settings) {
      return signInWith(options, settings, request);
    });
  }
  return useOwnHost(chosen, [&](const LabSettings& settings, const nlohmann::json& ready) {
    const auto passkey = enrolledPasskey(ready, options.site(std::nullopt));
    return signInWith(options, settings, requestFor(options, passkey));
  });
}

}  // namespace

void addSignInCommand(CLI::App& app, int& exitStatus) {
  CLI::App& command = *app.add_subcommand("sign-in", "signs in and checks the answer");
  const auto options = std::make_shared<SignInOptions>();
  options->system.addTo(command);
  command.add_option("--relying-party", options->relyingParty)->check(isDomain());
  auto* const passkey = command.add_option("--passkey", options->passkeyFile);
  command.add_option("--public-key", options->publicKeyFile)->excludes(passkey);
  options->verification.addTo(command);
  auto* const interactive = command.add_flag("--interactive", options->interactive);
  auto* const list = command.add_flag("--list", options->list)->excludes(interactive);
  command.add_option("--allow", options->allowed)
      ->allow_extra_args(false)
      ->check(isBase64Url())
      ->needs(list);
  setHelpPage(command, SignInHelpPage);
  command.callback([options, &exitStatus] { exitStatus = run(*options); });
}

}  // namespace korvan::lab
