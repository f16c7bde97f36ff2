#include "lab/check/Catalog.h"

namespace korvan::lab::check {

std::vector<Check> assertionChecks() { return {}; }

}  // namespace korvan::lab::check
