#include "lab/check/Catalog.h"

namespace korvan::lab::check {

std::vector<Check> signatureChecks() { return {}; }

}  // namespace korvan::lab::check
