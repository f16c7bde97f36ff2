#include "lab/check/Catalog.h"

namespace korvan::lab::check {

std::vector<Check> refusalChecks() { return {}; }

}  // namespace korvan::lab::check
