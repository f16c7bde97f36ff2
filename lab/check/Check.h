#pragma once

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace korvan::lab::check {

class CheckContext;

/// What a check found out.
enum class Outcome : std::uint8_t { passed, failed, warned, skipped };

/// "passed", "failed", "warned" or "skipped".
[[nodiscard]] std::string_view nameOf(Outcome outcome) noexcept;

// NOLINTBEGIN(readability-redundant-member-init): so that initializers may leave members out

/// The words for people on a check's outcome. Those that do not apply are empty. They may hold what
/// the host sent as it came: the reports make control characters visible.
struct Findings {
  std::string sent = {};
  std::string got = {};
  std::string wanted = {};
  /// The mistake that the host probably makes; of a skipped check, why it did not run.
  std::string hint = {};
};

struct Result {
  Outcome outcome = Outcome::passed;
  Findings findings = {};
  /// The failed check that made this one pointless, and so all that come after this one. Of a
  /// failed check: the one whose failure this is, if that is in the run.
  std::string_view because = {};
};

// NOLINTEND(readability-redundant-member-init)

[[nodiscard]] inline Result passed() { return {}; }
[[nodiscard]] inline Result failed(Findings findings) {
  return {.outcome = Outcome::failed, .findings = std::move(findings)};
}
[[nodiscard]] inline Result warned(Findings findings) {
  return {.outcome = Outcome::warned, .findings = std::move(findings)};
}
[[nodiscard]] inline Result skipped(std::string why) {
  return {.outcome = Outcome::skipped,
          .findings = {.sent = {}, .got = {}, .wanted = {}, .hint = std::move(why)}};
}
/// A check finds out itself that it is pointless after the failure of another.
[[nodiscard]] Result blockedBy(std::string_view failedCheck);

/// Ends a check from within a helper, with any outcome.
class CheckEnd : public std::exception {
 public:
  explicit CheckEnd(Result result) : result_(std::move(result)) {}
  [[nodiscard]] const char* what() const noexcept override { return "a check has ended"; }
  [[nodiscard]] const Result& result() const noexcept { return result_; }

 private:
  Result result_;
};

/// What a check cannot do without. It is skipped where that is missing.
enum class Need : std::uint8_t {
  host,     ///< somebody who takes connections
  passkey,  ///< the passkeys that the run makes; see CheckContext::passkeys()
  program,  ///< a host that the run may stop, kill and start again: --launch
  person,   ///< somebody who answers what the host asks: left out with --unattended
};

/// One check: plain data, and the function that does it.
struct Check {
  /// "group.name". The names of a group's checks start with the same word.
  std::string_view name;
  /// What passes, as a short sentence for people.
  std::string_view passes;
  // NOLINTBEGIN(readability-redundant-member-init): so that initializers may leave members out
  std::vector<Need> needs = {};
  /// Checks that must not have failed before, because this one would only fail for their reason.
  std::vector<std::string_view> after = {};
  // NOLINTEND(readability-redundant-member-init)
  /// The heading in docs/host-protocol.md that tells what is right.
  std::string_view see;
  /// May throw a CheckEnd. Another exception means that the check itself could not be made.
  Result (*run)(CheckContext& context);
};

/// A check that needs a host and nothing else.
[[nodiscard]] inline Check hostCheck(std::string_view name, std::string_view passes,
                                     std::vector<std::string_view> after, std::string_view see,
                                     Result (*run)(CheckContext& context)) {
  return {.name = name,
          .passes = passes,
          .needs = {Need::host},
          .after = std::move(after),
          .see = see,
          .run = run};
}

}  // namespace korvan::lab::check
