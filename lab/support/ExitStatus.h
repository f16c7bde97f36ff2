#pragma once

namespace korvan::lab {

/// What the exit status of every program of the lab means. One that a signal ends has 128 plus the
/// signal's number, as in a shell.
enum ExitStatus : int {
  Well = 0,
  /// Something was not verified, or the program could not continue: standard error says why.
  NotVerified = 1,
  WrongUsage = 2,
  /// There was no host to talk to.
  HostAbsent = 3,
};

}  // namespace korvan::lab
