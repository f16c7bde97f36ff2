#include "lab/soak/SoakSummary.h"

#include <algorithm>
#include <cmath>
#include <iomanip>

namespace korvan::lab::soak {
namespace {

using Event = SoakRecord::Event;

constexpr int NameWidth = 42;
constexpr int CountWidth = 10;

/// Alike for outcomes that differ in their data only.
struct Kind {
  std::string operator()(const CompletedAssertion&) const { return "completed assertion"; }
  std::string operator()(const CompletedRegistration&) const { return "completed registration"; }
  std::string operator()(const CompletedConfiguration&) const { return "completed configuration"; }
  std::string operator()(const Cancelled& cancelled) const {
    return "cancelled with code " + std::to_string(cancelled.error.code) +
           (cancelled.noticeShown ? " after the notice" : "");
  }
  std::string operator()(const NoticePending&) const { return "notice pending"; }
  std::string operator()(const Returned&) const { return "returned (a report)"; }
  std::string operator()(const Refused&) const { return "refused"; }
};

template <typename Table>
void printTable(std::ostream& stream, std::string_view title, const Table& table, double seconds) {
  stream << '\n'
         << std::left << std::setw(NameWidth) << title << std::right << std::setw(CountWidth)
         << "requests" << std::setw(CountWidth) << "a second" << '\n';
  for (const auto& [name, count] : table) {
    stream << "  " << std::left << std::setw(NameWidth - 2) << name << std::right
           << std::setw(CountWidth) << count << std::setw(CountWidth) << std::fixed
           << std::setprecision(1) << static_cast<double>(count) / seconds << '\n';
  }
}

}  // namespace

void SoakSummary::count(const SoakPlan& plan, const SoakRound& round) {
  for (const SoakEvidence& request : round.requests) {
    ++requests_;
    ++byAsk_[std::string(traitsOf(plan.askOf(request.number)).name)];
    ++byBehaviour_[std::string(nameOf(plan.behaviourOf(request.number)))];
    for (const Outcome& outcome : request.outcomes) {
      ++byOutcome_[std::visit(Kind(), outcome)];
    }
    launches_ += request.isLaunched ? 1 : 0;
  }
  for (const SoakRecord& record : round.records) {
    deaths_ += record.event == Event::dying ? 1 : 0;
    starts_ += record.event == Event::ready ? 1 : 0;
  }
}

void SoakSummary::print(std::ostream& stream, double seconds) const {
  printTable(stream, "by type", byAsk_, seconds);
  printTable(stream, "by the host's part", byBehaviour_, seconds);
  printTable(stream, "by outcome", byOutcome_, seconds);
  stream << '\n'
         << requests_ << " requests in " << std::fixed << std::setprecision(1) << seconds << " s, "
         << std::llround(static_cast<double>(requests_) / seconds) << " a second; hosts started "
         << starts_ << " times and died " << deaths_ << " times; the extension opened one for "
         << launches_ << " requests\n";
}

}  // namespace korvan::lab::soak
