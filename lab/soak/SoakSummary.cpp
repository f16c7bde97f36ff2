#include "lab/soak/SoakSummary.h"

#include <cmath>
#include <iomanip>
#include <string_view>

#include "lab/soak/Behavior.h"

namespace korvan::lab::soak {
namespace {

using Event = SoakRecord::Event;

constexpr int NameWidth = 42;
constexpr int CountWidth = 10;

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

void SoakSummary::count(const SoakRound& round) {
  for (const SoakEvidence& evidence : round.requests) {
    ++requests_;
    ++byAsk_[std::string(evidence.request.ask->name)];
    ++byBehavior_[std::string(evidence.request.behavior->name)];
    for (const Outcome& outcome : evidence.outcomes) {
      ++byOutcome_[kindOf(outcome)];
    }
    launches_ += evidence.isLaunched ? 1 : 0;
  }
  for (const SoakRecord& record : round.records) {
    deaths_ += record.event == Event::dying ? 1 : 0;
    starts_ += record.event == Event::ready ? 1 : 0;
  }
}

void SoakSummary::print(std::ostream& stream, double seconds) const {
  printTable(stream, "by type", byAsk_, seconds);
  printTable(stream, "by the host's part", byBehavior_, seconds);
  printTable(stream, "by outcome", byOutcome_, seconds);
  stream << '\n'
         << requests_ << " requests in " << std::fixed << std::setprecision(1) << seconds << " s, "
         << std::llround(static_cast<double>(requests_) / seconds) << " a second; hosts started "
         << starts_ << " times and died " << deaths_ << " times; the extension opened one for "
         << launches_ << " requests\n";
}

}  // namespace korvan::lab::soak
