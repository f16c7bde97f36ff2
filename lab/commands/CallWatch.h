#pragma once

#include "lab/commands/Narrator.h"
#include "lab/system/CallRunner.h"

namespace korvan::lab {

/// Has the runner say on standard error what its calls wait for, once they have for a second, and
/// the narrator tell messages as they go over the socket, if those are to be shown. Refers to both.
void watch(CallRunner& runner, Narrator& narrator, bool showMessages);

/// Tells why a call that failed could not reach the host that it opened, if it opened one.
void tellLaunch(CallRunner& runner, Narrator& narrator, const CallResult& result);

}  // namespace korvan::lab
