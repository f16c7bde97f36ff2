#pragma once

#include "lab/commands/Narrator.h"
#include "lab/system/CallRunner.h"

namespace korvan::lab {

/// Has the runner say on standard error what a call waits for, once it has waited for a second, and
/// the narrator print messages as they go over the socket, if those are to be shown. Refers to
/// both.
void watch(CallRunner& runner, Narrator& narrator, bool showMessages);

/// Says why a failed call could not reach the host that it opened, if it opened one.
void tellLaunch(CallRunner& runner, Narrator& narrator, const CallResult& result);

}  // namespace korvan::lab
