#include "lab/check/Catalog.h"

namespace korvan::lab::check {

std::vector<Check> launchChecks() { return {}; }

}  // namespace korvan::lab::check
