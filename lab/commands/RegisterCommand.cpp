#include "lab/commands/RegisterCommand.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "lab/commands/CallWatch.h"
#include "lab/commands/HostChoice.h"
#include "lab/commands/Narrator.h"
#include "lab/commands/PasskeyFile.h"
#include "lab/commands/SystemOptions.h"
#include "lab/commands/VerificationOption.h"
#include "lab/site/Registration.h"
#include "lab/site/SignIn.h"
#include "lab/support/Base64Url.h"
#include "lab/support/Base64UrlOption.h"
#include "lab/support/DomainOption.h"
#include "lab/support/HelpPage.h"
#include "lab/support/NumberOption.h"
#include "lab/support/RandomData.h"
#include "lab/system/views/Screen.h"

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
  --algorithms NUMBERS     COSE algorithms, the best first, such as -7,-257;
                           default: -7, which is ES256
  --user-verification required|preferred|discouraged
                           default: required, preferred with --conditional
  --conditional            registers silently; fails if the user is needed
  --save FILE              writes the passkey for sign-in --passkey, without
                           its private key
  --container DIR|none     the app group's container
  --host-application EXECUTABLE|none
                           the host application; default: the desktop's
  --trust-anchor FILE.pem  the root of trusted signatures; default: the build's
  --timeout SECONDS        gives up when the host takes longer; default: never
  --show-messages          prints messages as they go over the socket
  --help                   this page

Exit status: 0 when passkey and sign-in were verified, 1 when not, 2 for a usage
error, 3 without a host.

Example:
  korvan-lab register --user-name carol
)";

constexpr std::size_t UserHandleSize = 16;

struct RegisterOptions {
  SystemOptions system;
  std::string relyingParty = "example.com";
  std::string userName = "bob";
  VerificationOption verification;
  std::vector<std::string> excluded;
  std::vector<std::int64_t> algorithms = {-7};
  std::string saveFile;
  bool conditional = false;

  [[nodiscard]] CreationOptions creationOptions() const {
    return {.userName = userName,
            .userHandle = randomData(UserHandleSize),
            .algorithms = algorithms,
            .excludedCredentials = bytesOf(excluded),
            .conditional = conditional};
  }
};

std::string withoutNewline(std::string text) {
  text.resize(text.find_last_not_of('\n') + 1);
  return text;
}

/// A site that lets the user take part asks for the verification too.
RelyingParty siteOf(const RegisterOptions& options, RelyingParty::Ceremony ceremony) {
  return {
      options.relyingParty,
      options.verification.levelOr(options.conditional ? RelyingParty::UserVerification::preferred
                                                       : RelyingParty::UserVerification::required),
      ceremony};
}

/// What a web site would remember, for those who are to play it.
void tell(Narrator& narrator, const EnrolledPasskey& passkey) {
  const RegisteredPasskey& registered = passkey.registered;
  narrator.say("The user handle is " + base64Url(registered.userHandle.value_or(Data()).bytes()));
  narrator.say("The public key is\n" + withoutNewline(registered.key.pem()));
}

RegistrationResult registerAndTell(Narrator& narrator, CallRunner& runner,
                                   const RegisterOptions& options) {
  const RelyingParty site = siteOf(options, RelyingParty::Ceremony::registration);
  narrator.heading("Registering a passkey of " + options.userName + " with " + site.identifier());
  narrator.say("The client data is " + site.clientDataJSON());
  RegistrationResult result = registerPasskey(runner, site, options.creationOptions());
  if (options.system.showMessages) {
    narrator.silence(result.call);
  }
  narrator.result(result.call, result.findings);
  tellLaunch(runner, narrator, result.call);
  if (result.passkey) {
    tell(narrator, *result.passkey);
  }
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
  const SignInResult result = signIn(
      runner, site, {.mode = mode, .identity = passkey.identity, .registered = passkey.registered});
  narrator.result(result.call, result.findings);
  return narrator.verdict(result.verified(),
                          (result.verified() ? "Signed in to " : "No verified sign-in to ") +
                              site.identifier() + " (" + durationText(result.call.milliseconds) +
                              ")");
}

bool registerAndSignIn(const RegisterOptions& options, const LabSettings& settings) {
  Narrator narrator = Narrator::toStandardOutput();
  CallRunner runner(settings);
  watch(runner, narrator, options.system.showMessages);
  const RegistrationResult registration = registerAndTell(narrator, runner, options);
  if (registration.passkey && !options.saveFile.empty()) {
    savePasskey(*registration.passkey, options.saveFile);
    narrator.say("Saved to " + options.saveFile);
  }
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
  command.add_option("--algorithms", options->algorithms)
      ->delimiter(',')
      ->allow_extra_args(false)
      ->check(isNumber("an algorithm's number", std::int64_t{INT32_MIN}, std::int64_t{INT32_MAX}));
  options->verification.addTo(command);
  command.add_option("--save", options->saveFile);
  command.add_flag("--conditional", options->conditional);
  setHelpPage(command, RegisterHelpPage);
  command.callback([options, &exitStatus] { exitStatus = run(*options); });
}

}  // namespace korvan::lab
