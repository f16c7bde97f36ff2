#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lab/commands/Narrator.h"
#include "lab/processes/Stage.h"
#include "lab/site/Registration.h"
#include "lab/site/SignIn.h"
#include "lab/system/CallRunner.h"

namespace korvan::lab {

/// What the steps of the tour share: a place for hosts, and a vault with one passkey. No step
/// changes them; a step that changes a vault has a host of its own.
class Tour {
 public:
  /// A host that is ready, and its passkey for the tour's web site.
  struct Host {
    SampleHostProcess& process;
    EnrolledPasskey passkey;
  };

  /// Refers to both, which outlive it.
  Tour(Narrator& narrator, Stage& stage);

  [[nodiscard]] Narrator& narrator() const { return narrator_; }
  [[nodiscard]] Stage& stage() const { return stage_; }
  [[nodiscard]] const EnrolledPasskey& passkey() const { return passkey_; }

  /// The arguments that give a host the tour's passkey.
  [[nodiscard]] std::vector<std::string> vaultArguments() const {
    return {"--vault", stage_.file("vault.json")};
  }

  /// Starts a signed host and waits until it is ready. Throws std::runtime_error when it has no
  /// passkey for the web site.
  [[nodiscard]] Host startHost(const std::vector<std::string>& arguments) const;

  /// Signs in and prints how it ended. Without `hostApplication` no host can be opened.
  [[nodiscard]] SignInResult signIn(SignInMode mode, const EnrolledPasskey& passkey,
                                    std::string_view hostApplication = LabSettings::None) const;

  /// Asks for a new passkey and prints how it ended.
  [[nodiscard]] RegistrationResult registerPasskey(const CreationOptions& options,
                                                   OperatingSystemVersion version = {
                                                       .major = 15}) const;

  /// Makes another call, and prints what went over the socket and how it ended.
  [[nodiscard]] CallResult call(const Call& call,
                                std::string_view hostApplication = LabSettings::None) const;

 private:
  [[nodiscard]] LabSettings settings(std::string_view hostApplication) const;

  Narrator& narrator_;
  Stage& stage_;
  EnrolledPasskey passkey_;
};

/// The web site of the tour.
inline constexpr std::string_view TourRelyingParty = "example.com";

}  // namespace korvan::lab
