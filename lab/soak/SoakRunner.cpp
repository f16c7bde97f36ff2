#include "lab/soak/SoakRunner.h"

#include <iterator>
#include <tuple>
#include <utility>

#include <glib.h>

#include "lab/soak/Behavior.h"
#include "lab/soak/SoakChecks.h"

namespace korvan::lab::soak {
namespace {

constexpr const char* LaunchURL = "korvan:///launch?source=credential-provider";

}  // namespace

SoakRunner::SoakRunner(const std::filesystem::path& directory, std::uint64_t seed,
                       const LabSettings& settings)
    : plan_(seed), platform_(settings) {
  for (std::size_t index = 0; index < SiteCount; ++index) {
    places_.emplace_back(directory / std::to_string(index));
  }
}

std::vector<std::string> SoakRunner::runRound(std::int64_t end, SoakSummary& summary) {
  while (now() < end || !flights_.empty()) {
    while (now() < end && flights_.size() < MaxInFlight) {
      startRequest();
    }
    finishRequests();
    if (!flights_.empty()) {
      g_main_context_iteration(platform_.mainContext.get(), TRUE);
      finishRequests();
    }
  }
  std::vector<std::string> flaws;
  for (Place& place : places_) {
    const SoakRound round{.isUpAtStart = place.isUp,
                          .requests = std::exchange(place.done, {}),
                          .records = place.site.log.next()};
    place.isUp = isUpAfter(round.isUpAtStart, round.records);
    summary.count(round);
    std::ranges::move(flawsOf(round), std::back_inserter(flaws));
  }
  return flaws;
}

void SoakRunner::startRequest() {
  const SoakRequest request = plan_.next();
  flights_.emplace_back(request, platform_, placeOf(request).site).start();
}

void SoakRunner::finishRequests() {
  for (auto flight = flights_.begin(); flight != flights_.end();) {
    if (!flight->isOver()) {
      ++flight;
      continue;
    }
    const SoakEvidence evidence = flight->evidence();
    flight = flights_.erase(flight);
    const SoakRequest& request = evidence.request;
    Place& place = placeOf(request);
    place.done.push_back(evidence);
    // Some dead hosts come back by themselves, others when the extension opens them.
    if (request.revives && request.behavior->partIn(request).script.dies) {
      std::ignore = place.site.workspace.openURL(LaunchURL);
    }
  }
}

SoakRunner::Place& SoakRunner::placeOf(const SoakRequest& request) {
  return *std::next(places_.begin(), static_cast<std::ptrdiff_t>(request.number % SiteCount));
}

}  // namespace korvan::lab::soak
