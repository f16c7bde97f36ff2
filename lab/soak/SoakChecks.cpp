#include "lab/soak/SoakChecks.h"

#include <algorithm>
#include <limits>
#include <map>
#include <utility>

#include "lab/soak/RightOutcomes.h"
#include "lab/soak/plan/SoakScript.h"

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

  [[nodiscard]] bool touch(const SoakEvidence& request) const {
    return std::ranges::any_of(spans_, [&request](const auto& span) {
      return span.first <= request.end && request.start <= span.second;
    });
  }

 private:
  std::vector<std::pair<std::int64_t, std::int64_t>> spans_;
};

std::string nameOf(const SoakPlan& plan, std::uint64_t number) {
  return "Request " + std::to_string(number) + " (" +
         std::string(traitsOf(plan.askOf(number)).name) + ", the host's part being " +
         std::string(nameOf(plan.behaviourOf(number))) + ")";
}

std::string listOf(const std::vector<Outcome>& outcomes) {
  std::string list;
  for (const Outcome& outcome : outcomes) {
    list += (list.empty() ? "" : ", or ") + describe(outcome);
  }
  return list;
}

void checkOutcome(const SoakPlan& plan, const SoakEvidence& request, bool isHostDown,
                  Flaws& flaws) {
  const std::string name = nameOf(plan, request.number);
  if (request.isKept) {
    flaws.push_back(name + " is still held by something after its work was over.");
  }
  if (request.outcomes.size() != 1) {
    flaws.push_back(name + " had " + std::to_string(request.outcomes.size()) +
                    " outcomes instead of one" +
                    (request.outcomes.empty() ? "." : ": " + listOf(request.outcomes) + "."));
    return;
  }
  std::vector<Outcome> right = rightOutcomes(plan, request.number, request.isLaunched);
  if (isHostDown) {
    const auto more = outcomesOfOutage(plan, request.number, request.isLaunched);
    right.insert(right.end(), more.begin(), more.end());
  }
  if (std::ranges::find(right, request.outcomes.front()) == right.end()) {
    flaws.push_back(name + " was " + describe(request.outcomes.front()) + " where it should be " +
                    listOf(right) + ".");
  }
}

/// The hosts' records of requests, by request and attempt.
class ReceivedRequests {
 public:
  explicit ReceivedRequests(const SoakRound& round) {
    for (const SoakRecord& record : round.records) {
      if (record.event == Event::received) {
        bytes_.emplace(std::pair(record.number, record.attempt), record.bytes);
      }
    }
  }

  /// Forgets it. 0 when it was not received.
  std::uint64_t take(std::uint64_t number, std::uint32_t attempt) {
    const auto found = bytes_.find({number, attempt});
    if (found == bytes_.end()) {
      return 0;
    }
    const std::uint64_t bytes = found->second;
    bytes_.erase(found);
    return bytes;
  }

  [[nodiscard]] const auto& left() const { return bytes_; }

 private:
  std::multimap<std::pair<std::uint64_t, std::uint32_t>, std::uint64_t> bytes_;
};

void checkLog(const SoakPlan& plan, const SoakEvidence& request, bool isHostDown,
              ReceivedRequests& received, Flaws& flaws) {
  const bool isRead = readsWholeRequest(plan.behaviourOf(request.number));
  for (std::uint32_t attempt = 1; attempt <= request.attempts.size(); ++attempt) {
    const SoakAttempt& sent = request.attempts[attempt - 1];
    const std::uint64_t bytes = received.take(request.number, attempt);
    const std::string name =
        nameOf(plan, request.number) + ", attempt " + std::to_string(attempt) + ",";
    if (bytes != 0 && (!sent.isSentWhole || sent.bytesSent != bytes)) {
      flaws.push_back(name + " is in the host's log with " + std::to_string(bytes) +
                      " bytes, but the extension sent " + std::to_string(sent.bytesSent) + ".");
    }
    if (bytes == 0 && sent.isSentWhole && isRead && !isHostDown) {
      flaws.push_back(name + " was sent whole, but is not in the host's log.");
    }
  }
}

std::string describeError(const Error& error) {
  return "code " + std::to_string(error.code) + " with " +
         (error.localizedDescription() ? "\"" + *error.localizedDescription() + "\"" : "no words");
}

std::string describeParty(const std::optional<std::string>& relyingParty) {
  return relyingParty ? " for " + *relyingParty : " for no relying party";
}

struct Describing {
  std::string operator()(const CompletedAssertion& completed) const {
    return "completed with an assertion" + describeParty(completed.credential.relyingParty);
  }
  std::string operator()(const CompletedRegistration& completed) const {
    return "completed with a registration" + describeParty(completed.credential.relyingParty);
  }
  std::string operator()(const CompletedConfiguration&) const { return "completed"; }
  std::string operator()(const Cancelled& cancelled) const {
    return "cancelled, " + describeError(cancelled.error) +
           (cancelled.noticeShown ? " after the notice" : "");
  }
  std::string operator()(const NoticePending&) const { return "left with the notice"; }
  std::string operator()(const Returned&) const { return "returned from"; }
  std::string operator()(const Refused& refused) const { return "refused: " + refused.reason; }
};

}  // namespace

std::string describe(const Outcome& outcome) { return std::visit(Describing(), outcome); }

bool isUpAfter(bool isUpBefore, const std::vector<SoakRecord>& records) {
  for (const SoakRecord& record : records) {
    isUpBefore = record.event == Event::ready || (isUpBefore && record.event != Event::dying);
  }
  return isUpBefore;
}

Flaws flawsOf(const SoakPlan& plan, const SoakRound& round) {
  Flaws flaws;
  const Outages outages(round);
  ReceivedRequests received(round);
  for (const SoakEvidence& request : round.requests) {
    const bool isHostDown = outages.touch(request);
    checkOutcome(plan, request, isHostDown, flaws);
    checkLog(plan, request, isHostDown, received, flaws);
  }
  for (const auto& [attempt, bytes] : received.left()) {
    flaws.push_back(nameOf(plan, attempt.first) + ", attempt " + std::to_string(attempt.second) +
                    ", is in the host's log once more than the extension made it.");
  }
  for (const SoakRecord& record : round.records) {
    if (record.event == Event::mistaken) {
      flaws.push_back(nameOf(plan, record.number) + " reached the host as another request.");
    }
  }
  return flaws;
}

}  // namespace korvan::lab::soak
