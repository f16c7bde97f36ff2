#include "lab/check/CheckRunner.h"

#include <algorithm>
#include <exception>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

namespace korvan::lab::check {
namespace {

using Clock = std::chrono::steady_clock;

bool needs(const Check& check, Need need) {
  return std::ranges::find(check.needs, need) != check.needs.end();
}

class Run {
 public:
  Run(CheckContext& context, const CheckReports& reports) : context_(context), reports_(reports) {}

  Counts all(const std::vector<Check>& checks) {
    for (const Check& check : checks) {
      names_.insert(check.name);
    }
    for (const Check& check : checks) {
      for (const auto& report : reports_) {
        report->begin(check, done_.size(), checks.size());
      }
      const CheckRecord record = one(check);
      count(record.result.outcome);
      for (const auto& report : reports_) {
        report->end(record);
      }
      done_.insert(check.name);
    }
    context_.passkeys().removeAll();
    for (const auto& report : reports_) {
      report->finish(counts_);
    }
    return counts_;
  }

 private:
  CheckRecord one(const Check& check) {
    const auto start = Clock::now();
    context_.waits().restart();
    if (needs(check, Need::program)) {
      // A host that is to end may wait for its clients first.
      context_.closeSilentConnection();
    }
    CheckRecord record{.check = &check, .result = {}, .duration = {}, .programErrors = {}};
    const auto reason = reasonToSkip(check);
    record.result = attributed(reason ? *reason : result(check), check);
    if (!record.result.because.empty()) {
      failures_[check.name] = record.result.because;
    }
    record.duration = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
    if (record.result.outcome == Outcome::failed) {
      record.programErrors = context_.hasProgram() ? context_.program().newErrors() : "";
      failures_[check.name] = check.name;
    }
    if (record.result.outcome == Outcome::failed || context_.unanswered().isLeft()) {
      recoverHost(check, record.result.findings);
    }
    return record;
  }

  /// The failure of another check is told there, and this one skipped.
  Result attributed(Result result, const Check& check) const {
    if (result.outcome != Outcome::failed || result.because.empty()) {
      return result;
    }
    const std::string_view other = std::exchange(result.because, {});
    const auto failure = failures_.find(other);
    const bool isToCome = !done_.contains(other) && names_.contains(other) && other != check.name;
    return isToCome                     ? blockedBy(other)
           : failure != failures_.end() ? blockedBy(failure->second)
                                        : result;
  }

  Result result(const Check& check) {
    try {
      if (needs(check, Need::passkey)) {
        std::ignore = context_.passkeys().first();
      }
      return check.run(context_);
    } catch (const CheckEnd& end) {
      return end.result();
    } catch (const std::exception& error) {
      return failed({.got = error.what(), .hint = "the check could not be made"});
    }
  }

  std::optional<Result> reasonToSkip(const Check& check) {
    for (const std::string_view earlier : check.after) {
      if (const auto failure = failures_.find(earlier); failure != failures_.end()) {
        return blockedBy(failure->second);
      }
    }
    if (needs(check, Need::program) && !context_.hasProgram()) {
      return skipped("needs --launch");
    }
    if (needs(check, Need::person) && !context_.settings().attended) {
      return skipped("needs a person, whom --unattended leaves out");
    }
    if (gone_ && (needs(check, Need::host) || needs(check, Need::passkey))) {
      return skipped(*gone_);
    }
    return std::nullopt;
  }

  /// A check may have ended the host, or have left it waiting, which would fail all that follow.
  void recoverHost(const Check& check, Findings& findings) {
    if (gone_ || !needs(check, Need::host)) {
      return;
    }
    context_.waits().restart();
    const bool listens = context_.hostListens();
    if (listens && !context_.unanswered().isLeft()) {
      return;
    }
    if (context_.hasProgram()) {
      if (!listens) {
        findings.got += "; the host " + context_.program().ending();
      }
      if (context_.startProgram()) {
        return;
      }
    }
    if (!listens || context_.hasProgram()) {
      gone_ = "nobody listens since " + std::string(check.name);
    } else if (context_.unanswered().hangs()) {
      gone_ = "the host has not answered since " + std::string(check.name);
    }
  }

  void count(Outcome outcome) {
    switch (outcome) {
      case Outcome::passed:
        ++counts_.passed;
        break;
      case Outcome::failed:
        ++counts_.failed;
        break;
      case Outcome::warned:
        ++counts_.warned;
        break;
      case Outcome::skipped:
        ++counts_.skipped;
        break;
    }
  }

  CheckContext& context_;
  const CheckReports& reports_;
  /// The check whose failure is the reason, by each check that failed or was skipped for it.
  std::map<std::string_view, std::string_view> failures_;
  /// Why nothing more is asked of the host.
  std::optional<std::string> gone_;
  Counts counts_;
  std::set<std::string_view> names_;
  std::set<std::string_view> done_;
};

}  // namespace

Counts runChecks(const std::vector<Check>& checks, CheckContext& context,
                 const CheckReports& reports) {
  return Run(context, reports).all(checks);
}

}  // namespace korvan::lab::check
