#include "lab/commands/demo/Demo.h"

#include <array>
#include <chrono>
#include <filesystem>
#include <string_view>
#include <tuple>
#include <vector>

#include "lab/commands/demo/Tour.h"
#include "lab/support/RandomData.h"
#include "platform/Error.h"

namespace korvan::lab {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t DemoUserHandleSize = 16;

CreationOptions optionsOfNewUser() {
  return {.userName = "bob", .userHandle = randomData(DemoUserHandleSize)};
}

/// With the findings only when something is wrong with them.
template <typename Result>
bool endVerified(Narrator& narrator, const Result& result, std::string_view words) {
  if (!result.verified()) {
    for (const Finding& finding : result.findings) {
      narrator.finding(finding);
    }
  }
  return narrator.verdict(result.verified(),
                          std::string(words) + ", " + durationText(result.call.milliseconds));
}

bool isCanceled(const CallResult& result, ExtensionErrorCode code) {
  const auto* const canceled = std::get_if<Canceled>(&result.outcome);
  return canceled != nullptr && canceled->error.domain == ErrorDomain::extension &&
         canceled->error.code == static_cast<std::int64_t>(code);
}

bool endCanceled(Narrator& narrator, const CallResult& result, ExtensionErrorCode code,
                 std::string_view words) {
  return narrator.verdict(isCanceled(result, code),
                          std::string(words) + ", " + durationText(result.milliseconds));
}

bool descriptionStartsWith(const CallResult& result, std::string_view words) {
  const auto* const canceled = std::get_if<Canceled>(&result.outcome);
  return canceled != nullptr &&
         canceled->error.localizedDescription().value_or("").starts_with(words);
}

bool signInSilently(Tour& tour) {
  Tour::Host host = tour.startHost(tour.vaultArguments());
  const SignInResult result = tour.signIn(SignInMode::silent, tour.passkey());
  host.process.stop();
  return endVerified(tour.narrator(), result, "The web site accepts the signature");
}

bool openTheHost(Tour& tour) {
  tour.narrator().say(
      "No host runs, so the extension opens it by its URL and retries until it answers.");
  const fs::path launcher = tour.stage().writeLauncher(tour.vaultArguments());
  const SignInResult result =
      tour.signIn(SignInMode::interactive, tour.passkey(), launcher.string());
  tour.stage().stopLaunchedHost();
  return endVerified(tour.narrator(), result, "Opened, and signed in");
}

bool chooseFromList(Tour& tour) {
  Tour::Host host = tour.startHost(tour.vaultArguments());
  const SignInResult result = tour.signIn(SignInMode::list, tour.passkey());
  host.process.stop();
  return endVerified(tour.narrator(), result, "The host chose a passkey that the web site accepts");
}

bool registerAndSignIn(Tour& tour, const CreationOptions& options) {
  Tour::Host host = tour.startHost({});
  const RegistrationResult registration = tour.registerPasskey(options);
  if (!registration.verified()) {
    return endVerified(tour.narrator(), registration, "The web site does not take the new passkey");
  }
  const SignInResult result = tour.signIn(SignInMode::silent, *registration.passkey);
  host.process.stop();
  return endVerified(tour.narrator(), result, "The web site accepts the new passkey's signature");
}

bool registerWithTheUser(Tour& tour) { return registerAndSignIn(tour, optionsOfNewUser()); }

bool registerSilently(Tour& tour) {
  CreationOptions options = optionsOfNewUser();
  options.conditional = true;
  return registerAndSignIn(tour, options);
}

bool refuseExcluded(Tour& tour) {
  Tour::Host host = tour.startHost({});
  CreationOptions options = optionsOfNewUser();
  options.excludedCredentials = {host.passkey.identity.credentialID.value()};
  const CallResult result = tour.registerPasskey(options).call;
  tour.narrator().say("On macOS 14 requests have no excluded credentials:");
  const RegistrationResult onOlder = tour.registerPasskey(options, {.major = 14, .minor = 6});
  host.process.stop();
  return tour.narrator().verdict(
      isCanceled(result, ExtensionErrorCode::matchedExcludedCredential) && onOlder.verified(),
      "From macOS 15 on the web site learns that the user has a passkey, " +
          durationText(result.milliseconds));
}

bool refuseUnknownPasskey(Tour& tour) {
  Tour::Host host = tour.startHost(tour.vaultArguments());
  EnrolledPasskey unknown = tour.passkey();
  unknown.identity.recordIdentifier = "00000000-0000-0000-0000-000000000000";
  const CallResult result = tour.signIn(SignInMode::silent, unknown).call;
  host.process.stop();
  return endCanceled(tour.narrator(), result, ExtensionErrorCode::credentialIdentityNotFound,
                     "The system learns that there is no such passkey");
}

/// Signs in with the passkey of a host with such arguments, which refuses it.
bool refuse(Tour& tour, const std::vector<std::string>& hostArguments, SignInMode mode,
            ExtensionErrorCode code, std::string_view words) {
  Tour::Host host = tour.startHost(hostArguments);
  const CallResult result = tour.signIn(mode, host.passkey).call;
  host.process.stop();
  return endCanceled(tour.narrator(), result, code, words);
}

bool refuseWhileLocked(Tour& tour) {
  return refuse(tour, {"--locked"}, SignInMode::silent, ExtensionErrorCode::userInteractionRequired,
                "The system learns that the user is needed");
}

bool letTheUserCancel(Tour& tour) {
  return refuse(tour, {"--user-cancels"}, SignInMode::interactive, ExtensionErrorCode::userCanceled,
                "The system learns that the user canceled");
}

bool renameTheUser(Tour& tour) {
  const std::vector<std::string> vault = {"--vault", tour.stage().file("renamed.json")};
  Tour::Host host = tour.startHost(vault);
  std::ignore = tour.call(updatedUserNameReport(std::string(TourRelyingParty),
                                                host.passkey.identity.userHandle, "alice.b"));
  host.process.stop();
  Tour::Host again = tour.startHost(vault);
  again.process.stop();
  return tour.narrator().verdict(again.passkey.identity.userName == "alice.b",
                                 "The host calls " + *host.passkey.identity.userName + " " +
                                     again.passkey.identity.userName.value_or("nothing") + " now");
}

bool removeTheUnknown(Tour& tour) {
  Tour::Host host = tour.startHost({});
  std::ignore = tour.call(
      unknownCredentialReport(std::string(TourRelyingParty), host.passkey.identity.credentialID));
  const CallResult result = tour.signIn(SignInMode::silent, host.passkey).call;
  host.process.stop();
  return endCanceled(tour.narrator(), result, ExtensionErrorCode::credentialIdentityNotFound,
                     "The host has removed it");
}

bool keepOnlyTheAccepted(Tour& tour) {
  Tour::Host host = tour.startHost({});
  const PasskeyCredentialIdentity& identity = host.passkey.identity;
  const std::string site(TourRelyingParty);
  std::ignore = tour.call(acceptedCredentialsReport(
      site, identity.userHandle, PropertyListValue::Array{identity.credentialID.value()}));
  const SignInResult accepted = tour.signIn(SignInMode::silent, host.passkey);
  std::ignore =
      tour.call(acceptedCredentialsReport(site, identity.userHandle, PropertyListValue::Array()));
  const CallResult result = tour.signIn(SignInMode::silent, host.passkey).call;
  host.process.stop();
  return tour.narrator().verdict(
      accepted.verified() && isCanceled(result, ExtensionErrorCode::credentialIdentityNotFound),
      "Kept while it was on the list, removed when it was not");
}

bool loseAReport(Tour& tour) {
  const fs::path launcher = tour.stage().writeLauncher(tour.vaultArguments());
  const CallResult result = tour.call(
      unknownCredentialReport(std::string(TourRelyingParty), tour.passkey().identity.credentialID),
      launcher.string());
  const bool opened = Stage::hasProcesses();
  tour.stage().stopLaunchedHost();
  return tour.narrator().verdict(
      !wasDelivered(result) && result.failedConnections == 1 && !opened,
      "One connection failed, and no host was opened, " + durationText(result.milliseconds));
}

bool synchronize(Tour& tour) {
  Tour::Host host = tour.startHost(tour.vaultArguments());
  const CallResult result = tour.call(configurationCall());
  host.process.stop();
  return tour.narrator().verdict(
      std::holds_alternative<CompletedConfiguration>(result.outcome),
      "The system's settings are done, " + durationText(result.milliseconds));
}

bool turnImpostorAway(Tour& tour) {
  tour.narrator().say("An unsigned copy of the host listens on the socket.");
  const fs::path copy = tour.stage().file("impostor");
  fs::copy_file(sampleHostProgram(), copy);
  SampleHostProcess& impostor = tour.stage().startHost(copy, {});
  impostor.nextEvent();
  const CallResult result = tour.signIn(SignInMode::silent, tour.passkey()).call;
  const auto received = impostor.nextEvent().at("bytesReceived").get<std::size_t>();
  impostor.stop();
  tour.narrator().say("It was sent " + std::to_string(received) + " bytes.");
  return tour.narrator().verdict(
      isCanceled(result, ExtensionErrorCode::failed) && received == 0 &&
          descriptionStartsWith(result, "Validating the Korvan peer code signature failed"),
      "Rejected before anything was sent, " + durationText(result.milliseconds));
}

bool showTheNotice(Tour& tour) {
  const CallResult result = tour.signIn(SignInMode::interactive, tour.passkey()).call;
  const auto* const canceled = std::get_if<Canceled>(&result.outcome);
  return tour.narrator().verdict(
      isCanceled(result, ExtensionErrorCode::failed) && canceled->noticeShown,
      "The user knows what to do, " + durationText(result.milliseconds));
}

struct Step {
  std::string_view title;
  bool (*run)(Tour& tour);
};

constexpr std::array<Step, DemoStepCount> Steps{{
    {.title = "A silent sign-in", .run = signInSilently},
    {.title = "A sign-in while the host is not running", .run = openTheHost},
    {.title = "A sign-in from the list of credentials", .run = chooseFromList},
    {.title = "A new passkey, and a sign-in with it", .run = registerWithTheUser},
    {.title = "A new passkey, made silently", .run = registerSilently},
    {.title = "A new passkey where the web site excludes another", .run = refuseExcluded},
    {.title = "A passkey that the host does not have", .run = refuseUnknownPasskey},
    {.title = "A locked vault", .run = refuseWhileLocked},
    {.title = "A user who cancels", .run = letTheUserCancel},
    {.title = "A report of a user's new name", .run = renameTheUser},
    {.title = "A report of an unknown passkey", .run = removeTheUnknown},
    {.title = "A report of the accepted passkeys", .run = keepOnlyTheAccepted},
    {.title = "A report while the host is not running", .run = loseAReport},
    {.title = "The extension's configuration", .run = synchronize},
    {.title = "An impostor on the socket", .run = turnImpostorAway},
    {.title = "A host that cannot be opened", .run = showTheNotice},
}};

bool runStep(Tour& tour, std::size_t number) {
  const Step& step = Steps.at(number - 1);
  tour.narrator().heading(std::to_string(number) + ". " + std::string(step.title));
  return step.run(tour);
}

bool runAll(Tour& tour) {
  bool allVerified = true;
  for (std::size_t number = 1; number <= Steps.size(); ++number) {
    allVerified = runStep(tour, number) && allVerified;
  }
  return allVerified;
}

void sayHowToGoOn(Narrator& narrator, const std::string& program) {
  narrator.heading("To try one step:");
  narrator.say(program + " demo --step 2");
  narrator.say("With a host of your own: see " + program + " check-host --help.");
}

}  // namespace

bool runDemo(Narrator& narrator, const fs::path& directory, const std::string& program,
             std::optional<std::size_t> step) {
  const auto start = std::chrono::steady_clock::now();
  Stage stage(directory);
  Tour tour(narrator, stage);
  if (step) {
    return runStep(tour, *step);
  }
  const bool allVerified = runAll(tour);
  const std::chrono::duration<double, std::milli> duration =
      std::chrono::steady_clock::now() - start;
  sayHowToGoOn(narrator, program);
  narrator.heading("The tour:");
  return narrator.verdict(
      allVerified, (allVerified ? "every step was verified, " : "not every step was verified, ") +
                       durationText(duration.count()));
}

}  // namespace korvan::lab
