#pragma once

#include <memory>

#include "lab/soak/SoakChecks.h"
#include "lab/soak/SoakRequest.h"
#include "lab/soak/SoakSite.h"
#include "lab/system/LabPlatform.h"

namespace korvan::lab::soak {

/// A request in flight, with its own services. Main thread.
class SoakFlight {
 public:
  /// Writes the script for the site's host. Refers to the platform and the site, which outlive it.
  SoakFlight(const SoakRequest& request, LabPlatform& platform, SoakSite& site);
  SoakFlight(const SoakFlight&) = delete;
  SoakFlight& operator=(const SoakFlight&) = delete;
  ~SoakFlight();

  /// Calls the entry point.
  void start();

  /// True once all of the request's work is done, and the notice, if there was one, is answered.
  [[nodiscard]] bool isOver();

  /// What was recorded. Call it once, when the request is over.
  [[nodiscard]] SoakEvidence evidence();

 private:
  struct Session;

  const SoakRequest request_;
  const SoakSite& site_;
  const std::shared_ptr<Session> session_;
  std::shared_ptr<CredentialProviderViewController> controller_;
};

}  // namespace korvan::lab::soak
