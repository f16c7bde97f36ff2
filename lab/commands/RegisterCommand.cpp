#include "lab/commands/RegisterCommand.h"

#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "lab/commands/HostChoice.h"
#include "lab/commands/Narrator.h"
#include "lab/commands/SystemOptions.h"
#include "lab/site/Registration.h"
#include "lab/site/SignIn.h"
#include "lab/support/Base64UrlOption.h"
#include "lab/support/DomainOption.h"
#include "lab/support/HelpPage.h"
#include "lab/support/RandomData.h"
#include "lab/system/Screen.h"

namespace korvan::lab {
namespace {

constexpr std::string_view RegisterHelpPage =
    R"(Usage: korvan-lab register [options]

Makes a passkey as a browser does, checks it as the web site does, and signs in
with it. Starts a sample host of its own unless you name one.

  --relying-party DOMAIN   the web site; default: example.com
  --user-name NAME         the user; default: bob
  --exclude CREDENTIAL_ID  a passkey that the host must not have yet, as
                           base64url; may be repeated
  --conditional            without the user, or not at all
  --container DIR|none     the app group's container
  --host-application EXECUTABLE|none
                           the host application; default: the desktop's
  --trust-anchor FILE.pem  the root of trusted signatures; default: the build's
  --help                   this page

Exit status: 0 when the passkey and the sign-in were verified, otherwise 1.

Example:
  korvan-lab register --user-name carol
)";

constexpr std::size_t UserHandleSize = 16;

struct RegisterOptions {
  SystemOptions system;
  std::string relyingParty = "example.com";
  std::string userName = "bob";
  std::vector<std::string> excluded;
  bool conditional = false;

  [[nodiscard]] CreationOptions creationOptions() const {
    return {.userName = userName,
            .userHandle = randomData(UserHandleSize),
            .excludedCredentials = bytesOf(excluded),
            .conditional = conditional};
  }
};

/// A site that lets the user take part asks for the verification too.
RelyingParty siteOf(const RegisterOptions& options, RelyingParty::Ceremony ceremony) {
  return {options.relyingParty,
          options.conditional ? RelyingParty::UserVerification::preferred
                              : RelyingParty::UserVerification::required,
          ceremony};
}

RegistrationResult registerAndTell(Narrator& narrator, CallRunner& runner,
                                   const RegisterOptions& options) {
  const RelyingParty site = siteOf(options, RelyingParty::Ceremony::registration);
  narrator.heading("Registering a passkey of " + options.userName + " with " + site.identifier());
  narrator.say("The client data is " + site.clientDataJSON());
  RegistrationResult result = registerPasskey(runner, site, options.creationOptions());
  narrator.result(result.call, result.findings);
  narrator.verdict(result.verified(),
                   (result.verified() ? "Registered with " : "No verified passkey for ") +
                       site.identifier() + " (" + durationText(result.call.milliseconds) + ")");
  return result;
}

bool signInAndTell(Narrator& narrator, CallRunner& runner, const RegisterOptions& options,
                   const EnrolledPasskey& passkey) {
  const RelyingParty site = siteOf(options, RelyingParty::Ceremony::signIn);
  narrator.heading("Signing in with it");
  const SignInMode mode = options.conditional ? SignInMode::silent : SignInMode::interactive;
  const SignInResult result = signIn(runner, mode, site, passkey.identity, passkey.registered);
  narrator.result(result.call, result.findings);
  return narrator.verdict(result.verified(),
                          (result.verified() ? "Signed in to " : "No verified sign-in to ") +
                              site.identifier() + " (" + durationText(result.call.milliseconds) +
                              ")");
}

bool registerAndSignIn(const RegisterOptions& options, const LabSettings& settings) {
  Narrator narrator = Narrator::toStandardOutput();
  CallRunner runner(settings);
  const RegistrationResult registration = registerAndTell(narrator, runner, options);
  return registration.verified() && signInAndTell(narrator, runner, options, *registration.passkey);
}

int run(const RegisterOptions& options) {
  LabSettings settings = options.system.settings();
  if (!options.conditional) {
    settings.noticeMode = noticeForPeople();
  }
  if (namesHost(options.system)) {
    return useHost(settings, [&options](const LabSettings& chosen) {
      return registerAndSignIn(options, chosen);
    });
  }
  return useOwnHost(settings, [&options](const LabSettings& chosen, const auto& /*ready*/) {
    return registerAndSignIn(options, chosen);
  });
}

}  // namespace

void addRegisterCommand(CLI::App& app, int& exitStatus) {
  CLI::App& command = *app.add_subcommand("register", "makes a passkey and checks it");
  const auto options = std::make_shared<RegisterOptions>();
  options->system.addTo(command);
  command.add_option("--relying-party", options->relyingParty)->check(isDomain());
  command.add_option("--user-name", options->userName);
  command.add_option("--exclude", options->excluded)->allow_extra_args(false)->check(isBase64Url());
  command.add_flag("--conditional", options->conditional);
  setHelpPage(command, RegisterHelpPage);
  command.callback([options, &exitStatus] { exitStatus = run(*options); });
}

}  // namespace korvan::lab
