#include "lab/Demo.h"

#include <array>
#include <chrono>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "lab/CallRunner.h"
#include "lab/SignIn.h"
#include "lab/Stage.h"
#include "lab/TrustAnchor.h"
#include "platform/Error.h"

namespace korvan::lab {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view RelyingPartyIdentifier = "example.com";

/// What the steps share: a place for hosts, and the passkey that they all keep.
class Tour {
 public:
  Tour(Narrator& narrator, Stage& stage)
      : narrator_(narrator), stage_(stage), passkey_(passkeyOfNewVault()) {}

  [[nodiscard]] Narrator& narrator() const { return narrator_; }
  [[nodiscard]] Stage& stage() const { return stage_; }
  [[nodiscard]] const EnrolledPasskey& passkey() const { return passkey_; }

  /// The arguments of a host that keeps the passkey.
  [[nodiscard]] std::vector<std::string> vaultArguments() const {
    return {"--vault", stage_.file("vault.json")};
  }

  /// Starts a signed host that keeps the passkey, and waits until it is ready.
  SampleHostProcess& startHost(const std::vector<std::string>& moreArguments = {}) {
    auto arguments = vaultArguments();
    arguments.insert(arguments.end(), moreArguments.begin(), moreArguments.end());
    SampleHostProcess& host = stage_.startHost(sampleHostProgram(), arguments);
    host.nextEvent();
    return host;
  }

  /// Signs in and tells what came of it.
  SignInResult signIn(SignInRoad road, std::string_view hostApplication,
                      const PasskeyCredentialIdentity& identity) const {
    const LabSettings settings{.container = stage_.container(),
                               .hostApplication = std::string(hostApplication),
                               .trustAnchorPem = std::string(TrustAnchorPem)};
    CallRunner runner(settings);
    const RelyingParty relyingParty(std::string(RelyingPartyIdentifier),
                                    RelyingParty::UserVerification::preferred);
    SignInResult result = lab::signIn(runner, road, relyingParty, identity, passkey_.registered);
    narrator_.outcome(result.report);
    return result;
  }

  SignInResult signIn(SignInRoad road, std::string_view hostApplication) const {
    return signIn(road, hostApplication, passkey_.identity);
  }

 private:
  EnrolledPasskey passkeyOfNewVault() {
    SampleHostProcess& host = stage_.startHost(sampleHostProgram(), vaultArguments());
    auto passkey = enrolledPasskey(host.nextEvent(), RelyingPartyIdentifier);
    host.stop();
    if (!passkey) {
      throw std::runtime_error("The sample host has no passkey to show.");
    }
    return *std::move(passkey);
  }

  Narrator& narrator_;
  Stage& stage_;
  EnrolledPasskey passkey_;
};

bool endVerified(Narrator& narrator, const SignInResult& result, std::string_view words) {
  if (!result.verified()) {
    for (const Finding& finding : result.findings) {
      narrator.finding(finding);
    }
  }
  return narrator.verdict(result.verified(),
                          std::string(words) + ", " + durationText(result.report.milliseconds));
}

bool isCancelled(const SignInResult& result, ExtensionErrorCode code) {
  const auto* const cancelled = std::get_if<Cancelled>(&result.report.outcome);
  return cancelled != nullptr && cancelled->error.domain == ErrorDomain::extension &&
         cancelled->error.code == static_cast<std::int64_t>(code);
}

bool descriptionStartsWith(const SignInResult& result, std::string_view words) {
  const auto* const cancelled = std::get_if<Cancelled>(&result.report.outcome);
  return cancelled != nullptr &&
         cancelled->error.localizedDescription().value_or("").starts_with(words);
}

bool signInSilently(Tour& tour) {
  SampleHostProcess& host = tour.startHost();
  const SignInResult result = tour.signIn(SignInRoad::silent, LabSettings::None);
  host.stop();
  return endVerified(tour.narrator(), result, "The web site accepts the signature");
}

bool openTheHost(Tour& tour) {
  tour.narrator().say("No host runs, so it is opened by its URL and asked again until it answers.");
  const fs::path launcher = tour.stage().writeLauncher(tour.vaultArguments());
  const SignInResult result = tour.signIn(SignInRoad::interactive, launcher.string());
  tour.stage().stopLaunchedHost();
  return endVerified(tour.narrator(), result, "Opened, and signed in");
}

bool chooseFromList(Tour& tour) {
  SampleHostProcess& host = tour.startHost();
  const SignInResult result = tour.signIn(SignInRoad::list, LabSettings::None);
  host.stop();
  return endVerified(tour.narrator(), result, "The host chose a passkey that the web site accepts");
}

bool refuseUnknownCredential(Tour& tour) {
  SampleHostProcess& host = tour.startHost();
  PasskeyCredentialIdentity identity = tour.passkey().identity;
  identity.recordIdentifier = "00000000-0000-0000-0000-000000000000";
  const SignInResult result = tour.signIn(SignInRoad::silent, LabSettings::None, identity);
  host.stop();
  return tour.narrator().verdict(
      isCancelled(result, ExtensionErrorCode::credentialIdentityNotFound),
      "The system learns that there is no such passkey, " +
          durationText(result.report.milliseconds));
}

bool refuseWhileLocked(Tour& tour) {
  SampleHostProcess& host = tour.startHost({"--locked"});
  const SignInResult result = tour.signIn(SignInRoad::silent, LabSettings::None);
  host.stop();
  return tour.narrator().verdict(
      isCancelled(result, ExtensionErrorCode::userInteractionRequired),
      "The system learns that it has to ask the user, " + durationText(result.report.milliseconds));
}

bool turnImpostorAway(Tour& tour) {
  tour.narrator().say("An unsigned copy of the host listens on the socket.");
  const fs::path copy = tour.stage().file("impostor");
  fs::copy_file(sampleHostProgram(), copy);
  SampleHostProcess& impostor = tour.stage().startHost(copy, {});
  impostor.nextEvent();
  const SignInResult result = tour.signIn(SignInRoad::silent, LabSettings::None);
  const auto received = impostor.nextEvent().at("bytesReceived").get<std::size_t>();
  impostor.stop();
  tour.narrator().say("It was sent " + std::to_string(received) + " bytes.");
  return tour.narrator().verdict(
      isCancelled(result, ExtensionErrorCode::failed) && received == 0 &&
          descriptionStartsWith(result, "Validating the Korvan peer code signature failed"),
      "Turned away before it was told anything, " + durationText(result.report.milliseconds));
}

bool showTheNotice(Tour& tour) {
  const SignInResult result = tour.signIn(SignInRoad::interactive, LabSettings::None);
  const auto* const cancelled = std::get_if<Cancelled>(&result.report.outcome);
  return tour.narrator().verdict(
      isCancelled(result, ExtensionErrorCode::failed) && cancelled->noticeShown,
      "The user knows what to do, " + durationText(result.report.milliseconds));
}

struct Step {
  std::string_view title;
  bool (*run)(Tour& tour);
};

constexpr std::array<Step, 7> Steps{{
    {.title = "A sign-in that does not bother the user", .run = signInSilently},
    {.title = "A sign-in while the host is not running", .run = openTheHost},
    {.title = "A sign-in from the list of credentials", .run = chooseFromList},
    {.title = "A passkey that the host does not have", .run = refuseUnknownCredential},
    {.title = "A locked vault", .run = refuseWhileLocked},
    {.title = "An impostor on the socket", .run = turnImpostorAway},
    {.title = "A host that cannot be opened", .run = showTheNotice},
}};

bool runSteps(Tour& tour) {
  bool allVerified = true;
  for (std::size_t index = 0; index < Steps.size(); ++index) {
    tour.narrator().heading(std::to_string(index + 1) + ". " + std::string(Steps[index].title));
    allVerified = Steps[index].run(tour) && allVerified;
  }
  return allVerified;
}

void sayHowToGoOn(Narrator& narrator, const std::string& program) {
  narrator.heading("To try one by itself:");
  narrator.say(program + " sign-in --interactive");
  narrator.say(R"(echo '{"entryPoint":"prepareInterfaceForExtensionConfiguration"}' |)");
  narrator.say("  " + program + " call --host-application none --show-messages");
  narrator.say("More is in " + program + " sign-in --help and " + program + " call --help.");
}

}  // namespace

bool runDemo(Narrator& narrator, const fs::path& directory, const std::string& program) {
  const auto start = std::chrono::steady_clock::now();
  Stage stage(directory);
  Tour tour(narrator, stage);
  const bool allVerified = runSteps(tour);
  const std::chrono::duration<double, std::milli> duration =
      std::chrono::steady_clock::now() - start;
  sayHowToGoOn(narrator, program);
  narrator.heading("The tour:");
  return narrator.verdict(
      allVerified, (allVerified ? "every step was verified, " : "not every step was verified, ") +
                       durationText(duration.count()));
}

}  // namespace korvan::lab
