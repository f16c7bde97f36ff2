#include "lab/site/Finding.h"

#include <algorithm>
#include <iterator>

namespace korvan::lab {

bool isVerified(const Findings& findings) {
  return std::ranges::none_of(findings, [](const Finding& each) {
    return each.verdict == Finding::Verdict::fails || each.verdict == Finding::Verdict::notChecked;
  });
}

Findings findingsAbout(Finding::Subject subject, const Findings& findings) {
  Findings found;
  std::ranges::copy_if(findings, std::back_inserter(found),
                       [subject](const Finding& each) { return each.subject == subject; });
  return found;
}

}  // namespace korvan::lab
