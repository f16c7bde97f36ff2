#include "lab/check/Catalog.h"

namespace korvan::lab::check {

std::vector<Check> processChecks() { return {}; }

}  // namespace korvan::lab::check
