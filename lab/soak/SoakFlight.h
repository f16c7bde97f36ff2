#pragma once

#include <memory>

#include "lab/soak/SoakChecks.h"
#include "lab/soak/SoakRequest.h"
#include "lab/soak/SoakSite.h"
#include "lab/system/LabPlatform.h"

namespace korvan::lab::soak {

/// One request in flight, with the services that are its own. Main thread.
class SoakFlight {
 public:
  /// Tells the site's host what its part is. Refers to the platform and the site, which outlive it.
  SoakFlight(const SoakRequest& request, LabPlatform& platform, SoakSite& site);
  SoakFlight(const SoakFlight&) = delete;
  SoakFlight& operator=(const SoakFlight&) = delete;
  ~SoakFlight();

  /// Calls the entry point.
  void start();

  /// True once all of the request's work is over; a notice that is up has then been answered.
  [[nodiscard]] bool isOver();

  /// What was seen of the request, once it is over. To be called once, at its end.
  [[nodiscard]] SoakEvidence evidence();

 private:
  struct Session;

  const SoakRequest request_;
  const SoakSite& site_;
  const std::shared_ptr<Session> session_;
  std::shared_ptr<CredentialProviderViewController> controller_;
};

}  // namespace korvan::lab::soak
