#pragma once

#include "lab/system/CallRunner.h"

namespace korvan::lab {

/// Has the runner say on standard error what its calls wait for, once they have for a second.
void watch(CallRunner& runner);

}  // namespace korvan::lab
