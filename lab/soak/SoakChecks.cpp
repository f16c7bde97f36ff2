#include "lab/soak/SoakChecks.h"

#include <algorithm>
#include <limits>
#include <map>
#include <utility>
#include <variant>

#include "lab/soak/Behavior.h"

namespace korvan::lab::soak {
namespace {

using Event = SoakRecord::Event;
using Flaws = std::vector<std::string>;

/// The times at which no host served.
class Outages {
 public:
  explicit Outages(const SoakRound& round) {
    constexpr auto Ever = std::numeric_limits<std::int64_t>::min();
    bool isUp = round.isUpAtStart;
    std::int64_t since = Ever;
    for (const SoakRecord& record : round.records) {
      if (record.event == Event::dying && isUp) {
        isUp = false;
        since = record.time;
      } else if (record.event == Event::ready && !isUp) {
        isUp = true;
        spans_.emplace_back(since, record.time);
      }
    }
    if (!isUp) {
      spans_.emplace_back(since, std::numeric_limits<std::int64_t>::max());
    }
  }

  [[nodiscard]] bool touch(const SoakEvidence& evidence) const {
    return std::ranges::any_of(spans_, [&evidence](const auto& span) {
      return span.first <= evidence.end && evidence.start <= span.second;
    });
  }

 private:
  std::vector<std::pair<std::int64_t, std::int64_t>> spans_;
};

std::string nameOf(const SoakRequest& request) {
  return "Request " + std::to_string(request.number) + " (" + std::string(request.ask->name) +
         ", the host's part being " + std::string(request.behavior->name) + ")";
}

/// The outcome's own data, as far as it is told apart by them.
struct Details {
  static std::string party(const auto& completed) {
    const auto& relyingParty = completed.credential.relyingParty;
    return relyingParty ? " for " + *relyingParty : " for no relying party";
  }

  std::string operator()(const CompletedAssertion& completed) const { return party(completed); }
  std::string operator()(const CompletedRegistration& completed) const { return party(completed); }
  std::string operator()(const Canceled& canceled) const {
    const auto description = canceled.error.localizedDescription();
    return description ? " with \"" + *description + "\"" : " with no words";
  }
  std::string operator()(const auto& /*outcome*/) const { return ""; }
};

std::string listOf(const std::vector<Outcome>& outcomes) {
  std::string list;
  for (const Outcome& outcome : outcomes) {
    list += (list.empty() ? "" : ", or ") + kindOf(outcome) + std::visit(Details(), outcome);
  }
  return list;
}

void checkOutcome(const SoakEvidence& evidence, bool isHostDown, Flaws& flaws) {
  const std::string name = nameOf(evidence.request);
  if (evidence.isKept) {
    flaws.push_back(name + " is still held by something after its work was over.");
  }
  if (evidence.outcomes.size() != 1) {
    flaws.push_back(name + " had " + std::to_string(evidence.outcomes.size()) +
                    " outcomes instead of one" +
                    (evidence.outcomes.empty() ? "." : ": " + listOf(evidence.outcomes) + "."));
    return;
  }
  std::vector<Outcome> right = rightOutcomes(evidence.request, evidence.isLaunched);
  if (isHostDown) {
    std::ranges::move(outcomesOfOutage(evidence.request, evidence.isLaunched),
                      std::back_inserter(right));
  }
  if (std::ranges::find(right, evidence.outcomes.front()) == right.end()) {
    flaws.push_back(name + " was " + listOf(evidence.outcomes) + " where it should be " +
                    listOf(right) + ".");
  }
}

/// The digests of the requests that the hosts received, by request and attempt.
using Received = std::multimap<std::pair<std::uint64_t, std::uint32_t>, std::uint64_t>;

Received receivedIn(const SoakRound& round) {
  Received received;
  for (const SoakRecord& record : round.records) {
    if (record.event == Event::received) {
      received.emplace(std::pair(record.number, record.attempt), record.digest);
    }
  }
  return received;
}

/// Takes what belongs to the request out of `received`.
void checkLog(const SoakEvidence& evidence, bool isHostDown, Received& received, Flaws& flaws) {
  const SoakRequest& request = evidence.request;
  const bool isRead = request.behavior->partIn(request).script.reading == Reading::everything;
  for (std::uint32_t attempt = 1; attempt <= evidence.attempts.size(); ++attempt) {
    const SoakAttempt& sent = evidence.attempts[attempt - 1];
    const std::string name = nameOf(request) + ", attempt " + std::to_string(attempt) + ",";
    const auto entry = received.extract({request.number, attempt});
    if (entry && (!sent.isRequestSent || sent.digest != entry.mapped())) {
      flaws.push_back(name + " is in the host's log with other bytes than were sent.");
    }
    if (!entry && sent.isRequestSent && isRead && !isHostDown) {
      flaws.push_back(name + " was sent whole, but is not in the host's log.");
    }
  }
}

}  // namespace

std::string kindOf(const Outcome& outcome) {
  struct Kind {
    std::string operator()(const CompletedAssertion&) const { return "completed assertion"; }
    std::string operator()(const CompletedRegistration&) const { return "completed registration"; }
    std::string operator()(const CompletedConfiguration&) const {
      return "completed configuration";
    }
    std::string operator()(const Canceled& canceled) const {
      return "canceled with code " + std::to_string(canceled.error.code) +
             (canceled.noticeShown ? " after the notice" : "");
    }
    std::string operator()(const NoticePending&) const { return "notice pending"; }
    std::string operator()(const Returned&) const { return "returned (a report)"; }
    std::string operator()(const Refused&) const { return "refused"; }
    std::string operator()(const TimedOut&) const { return "timed out"; }
  };
  return std::visit(Kind(), outcome);
}

bool isUpAfter(bool isUpBefore, const std::vector<SoakRecord>& records) {
  for (const SoakRecord& record : records) {
    isUpBefore = record.event == Event::ready || (isUpBefore && record.event != Event::dying);
  }
  return isUpBefore;
}

Flaws flawsOf(const SoakRound& round) {
  Flaws flaws;
  const Outages outages(round);
  Received received = receivedIn(round);
  for (const SoakEvidence& evidence : round.requests) {
    const bool isHostDown = outages.touch(evidence);
    checkOutcome(evidence, isHostDown, flaws);
    checkLog(evidence, isHostDown, received, flaws);
  }
  for (const auto& [attempt, digest] : received) {
    flaws.push_back("Request " + std::to_string(attempt.first) + ", attempt " +
                    std::to_string(attempt.second) +
                    ", is in the host's log once more than the extension made it.");
  }
  return flaws;
}

}  // namespace korvan::lab::soak
