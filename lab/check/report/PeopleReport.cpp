#include <ostream>
#include <sstream>
#include <string_view>

#include "lab/check/report/CheckReport.h"
#include "lab/support/VisibleText.h"

namespace korvan::lab::check {
namespace {

std::string_view markOf(Outcome outcome) {
  switch (outcome) {
    case Outcome::passed:
      return "✓";
    case Outcome::failed:
      return "✗";
    case Outcome::warned:
      return "!";
    case Outcome::skipped:
      return "-";
  }
  return "";
}

void detail(std::ostream& out, std::string_view label, std::string_view text) {
  constexpr std::size_t LabelWidth = 8;
  if (!text.empty()) {
    out << "    " << label << std::string(LabelWidth - label.size(), ' ') << visibleText(text)
        << '\n';
  }
}

std::string bar(std::size_t done, std::size_t all) {
  constexpr std::size_t Width = 24;
  const std::size_t full = all == 0 ? 0 : done * Width / all;
  return "[" + std::string(full, '#') + std::string(Width - full, '.') + "] " +
         std::to_string(done) + "/" + std::to_string(all) + " ";
}

}  // namespace

void PeopleReport::clearProgress() {
  if (showsProgress_) {
    out_ << "\r\x1b[K";
  }
}

void PeopleReport::begin(const Check& check, std::size_t done, std::size_t all) {
  if (showsProgress_) {
    clearProgress();
    out_ << bar(done, all) << check.name << std::flush;
  }
}

void PeopleReport::end(const CheckRecord& record) {
  clearProgress();
  const Outcome outcome = record.result.outcome;
  const Findings& findings = record.result.findings;
  out_ << markOf(outcome) << ' ' << record.check->name;
  if (outcome == Outcome::skipped) {
    out_ << " (" << visibleText(findings.hint) << ")\n";
    return;
  }
  out_ << '\n';
  if (outcome == Outcome::passed) {
    return;
  }
  detail(out_, "sent", findings.sent);
  detail(out_, "got", findings.got);
  detail(out_, "wanted", findings.wanted);
  detail(out_, "hint", findings.hint);
  detail(out_, "see", "docs/host-protocol.md#" + std::string(record.check->see));
  std::istringstream errors(record.programErrors);
  for (std::string line; std::getline(errors, line);) {
    detail(out_, "wrote", line);
  }
  out_ << std::flush;
}

void PeopleReport::say(const std::string& sentence) {
  clearProgress();
  out_ << "… " << sentence << '\n' << std::flush;
}

void PeopleReport::finish(const Counts& counts) {
  clearProgress();
  out_ << '\n'
       << command_ << ": " << (counts.failed == 0 ? "passing" : "FAILING") << " · " << counts.passed
       << " passed, " << counts.failed << " failed, " << counts.warned << " warned, "
       << counts.skipped << " skipped\n"
       << std::flush;
}

}  // namespace korvan::lab::check
