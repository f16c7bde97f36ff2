#include "lab/check/Catalog.h"

namespace korvan::lab::check {

std::vector<Check> registrationChecks() { return {}; }

}  // namespace korvan::lab::check
