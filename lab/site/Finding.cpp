#include "lab/site/Finding.h"

#include <algorithm>
#include <iterator>

namespace korvan::lab {

bool isVerified(const FindingList& findings) {
  return std::ranges::none_of(findings, [](const Finding& each) {
    return each.verdict == Finding::Verdict::fails || each.verdict == Finding::Verdict::notChecked;
  });
}

FindingList findingsAbout(Finding::Subject subject, const FindingList& findings) {
  FindingList found;
  std::ranges::copy_if(findings, std::back_inserter(found),
                       [subject](const Finding& each) { return each.subject == subject; });
  return found;
}

}  // namespace korvan::lab
