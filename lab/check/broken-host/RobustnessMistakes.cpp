#include "lab/check/broken-host/Mistake.h"

namespace korvan::lab::broken {

std::vector<Mistake> robustnessMistakes() { return {}; }

}  // namespace korvan::lab::broken
