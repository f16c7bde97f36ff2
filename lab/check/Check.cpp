#include "lab/check/Check.h"

namespace korvan::lab::check {

std::string_view nameOf(Outcome outcome) noexcept {
  switch (outcome) {
    case Outcome::passed:
      return "passed";
    case Outcome::failed:
      return "failed";
    case Outcome::warned:
      return "warned";
    case Outcome::skipped:
      return "skipped";
  }
  return "";
}

Result blockedBy(std::string_view failedCheck) {
  Result result = skipped(std::string(failedCheck) + " failed");
  result.because = failedCheck;
  return result;
}

}  // namespace korvan::lab::check
