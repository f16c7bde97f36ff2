#include "lab/check/Catalog.h"

namespace korvan::lab::check {

std::vector<Check> robustnessChecks() { return {}; }

}  // namespace korvan::lab::check
