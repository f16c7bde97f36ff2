#include "lab/soak/SoakRunner.h"

#include <iterator>
#include <tuple>
#include <utility>

#include <glib.h>

#include "lab/soak/SoakChecks.h"

namespace korvan::lab::soak {
namespace {

constexpr const char* LaunchURL = "korvan:///launch?source=credential-provider";

enum Purpose : std::uint8_t { chooseReopening = 100 };

}  // namespace

SoakRunner::SoakRunner(const std::filesystem::path& directory, const SoakPlan& plan,
                       const LabSettings& settings)
    : plan_(plan), platform_(settings) {
  for (std::size_t index = 0; index < SiteCount; ++index) {
    places_.emplace_back(SoakSite(directory / std::to_string(index), plan));
  }
}

std::vector<std::string> SoakRunner::runRound(std::int64_t end, SoakSummary& summary) {
  while (now() < end || !flights_.empty()) {
    while (now() < end && flights_.size() < MaxInFlight) {
      takeOff();
    }
    landThoseOver();
    if (!flights_.empty()) {
      g_main_context_iteration(platform_.mainContext.get(), TRUE);
      landThoseOver();
    }
  }
  std::vector<std::string> flaws;
  for (Place& place : places_) {
    auto more = check(place, summary);
    std::ranges::move(more, std::back_inserter(flaws));
  }
  return flaws;
}

void SoakRunner::takeOff() {
  const std::uint64_t number = nextNumber_++;
  flights_.emplace_back(plan_, number, platform_, placeOf(number).site).start();
}

void SoakRunner::landThoseOver() {
  for (auto flight = flights_.begin(); flight != flights_.end();) {
    if (!flight->isOver()) {
      ++flight;
      continue;
    }
    SoakEvidence evidence = flight->land();
    flight = flights_.erase(flight);
    const std::uint64_t number = evidence.number;
    Place& place = placeOf(number);
    place.landed.push_back(std::move(evidence));
    // Some dead hosts come back by themselves, others when the extension opens them.
    if (isDeath(plan_.behaviourOf(number)) && plan_.choiceFor(number, chooseReopening) % 2 == 0) {
      std::ignore = place.site.workspace.openURL(LaunchURL);
    }
  }
}

SoakRunner::Place& SoakRunner::placeOf(std::uint64_t number) {
  return *std::next(places_.begin(), static_cast<std::ptrdiff_t>(number % SiteCount));
}

std::vector<std::string> SoakRunner::check(Place& place, SoakSummary& summary) const {
  const SoakRound round{.isUpAtStart = std::exchange(place.isUp, false),
                        .requests = std::exchange(place.landed, {}),
                        .records = place.site.log.next()};
  place.isUp = isUpAfter(round.isUpAtStart, round.records);
  summary.count(plan_, round);
  return flawsOf(plan_, round);
}

}  // namespace korvan::lab::soak
