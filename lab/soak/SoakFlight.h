#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "lab/soak/NumberedSockets.h"
#include "lab/soak/SoakEvidence.h"
#include "lab/soak/SoakSite.h"
#include "lab/soak/plan/SoakPlan.h"
#include "lab/system/CountedQueues.h"
#include "lab/system/LabPlatform.h"
#include "lab/system/LabViews.h"
#include "platform/ExtensionContext.h"
#include "platform/Services.h"
#include "platform/Workspace.h"
#include "provider/CredentialProviderViewController.h"

namespace korvan::lab::soak {

/// One request in flight, with the services that are its own. Main thread.
class SoakFlight {
 public:
  /// Refers to the platform and the site, which outlive it.
  SoakFlight(const SoakPlan& plan, std::uint64_t number, LabPlatform& platform, SoakSite& site);
  SoakFlight(const SoakFlight&) = delete;
  SoakFlight& operator=(const SoakFlight&) = delete;
  ~SoakFlight();

  /// Calls the entry point.
  void start();

  /// True once all of the request's work is over; a notice that is up has then been answered.
  [[nodiscard]] bool isOver();

  /// What was seen of the request, once it is over. To be called once, at its end.
  [[nodiscard]] SoakEvidence land();

 private:
  struct Session;

  const SoakPlan& plan_;
  const std::uint64_t number_;
  const std::shared_ptr<Session> session_;
  std::shared_ptr<CredentialProviderViewController> controller_;
};

}  // namespace korvan::lab::soak
