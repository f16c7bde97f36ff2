#include "lab/check/broken-host/Mistake.h"

namespace korvan::lab::broken {

std::vector<Mistake> socketMistakes() { return {}; }

}  // namespace korvan::lab::broken
