#include "lab/check/broken-host/Mistake.h"

namespace korvan::lab::broken {

std::vector<Mistake> refusalMistakes() { return {}; }

}  // namespace korvan::lab::broken
