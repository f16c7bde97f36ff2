#include "lab/commands/demo/Tour.h"

#include <stdexcept>
#include <utility>

#include "lab/system/TrustAnchor.h"

namespace korvan::lab {
namespace {

RelyingParty site(RelyingParty::Ceremony ceremony) {
  return {std::string(TourRelyingParty), RelyingParty::UserVerification::preferred, ceremony};
}

}  // namespace

Tour::Tour(Narrator& narrator, Stage& stage)
    : narrator_(narrator), stage_(stage), passkey_([this] {
        Host host = startHost(vaultArguments());
        host.process.stop();
        return host.passkey;
      }()) {}

Tour::Host Tour::startHost(const std::vector<std::string>& arguments) const {
  SampleHostProcess& process = stage_.startHost(sampleHostProgram(), arguments);
  auto passkey = enrolledPasskey(process.nextEvent(), TourRelyingParty);
  if (!passkey) {
    throw std::runtime_error("The sample host has no passkey to show.");
  }
  return {.process = process, .passkey = *std::move(passkey)};
}

SignInResult Tour::signIn(SignInMode mode, const EnrolledPasskey& passkey,
                          std::string_view hostApplication) const {
  CallRunner runner(settings(hostApplication));
  SignInResult result =
      lab::signIn(runner, site(RelyingParty::Ceremony::signIn),
                  {.mode = mode, .identity = passkey.identity, .registered = passkey.registered});
  narrator_.outcome(result.call);
  return result;
}

RegistrationResult Tour::registerPasskey(const CreationOptions& options,
                                         OperatingSystemVersion version) const {
  LabSettings chosen = settings(LabSettings::None);
  chosen.operatingSystemVersion = version;
  CallRunner runner(chosen);
  RegistrationResult result =
      lab::registerPasskey(runner, site(RelyingParty::Ceremony::registration), options);
  narrator_.outcome(result.call);
  return result;
}

CallResult Tour::call(const Call& call, std::string_view hostApplication) const {
  CallRunner runner(settings(hostApplication));
  CallResult result = runner.run(call);
  narrator_.messages(runner.propertyLists(), result);
  narrator_.outcome(result);
  return result;
}

LabSettings Tour::settings(std::string_view hostApplication) const {
  return {.container = stage_.container(),
          .hostApplication = std::string(hostApplication),
          .trustAnchorPem = std::string(TrustAnchorPem)};
}

}  // namespace korvan::lab
