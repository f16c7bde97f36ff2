#pragma once

#include "lab/support/Descriptor.h"

namespace korvan::lab {

/// Keeps SIGINT, SIGTERM and SIGHUP from ending the process, so that it can tidy up first.
class Interruption {
 public:
  /// Call it before there are threads, because they inherit the signal mask.
  Interruption();

  /// Becomes readable when such a signal comes.
  [[nodiscard]] int descriptor() const noexcept { return signals_.get(); }

  /// Takes note of the signal. Another SIGINT, from a person who does not want to wait, ends the
  /// process at once.
  void accept() const;

 private:
  Descriptor signals_;
};

}  // namespace korvan::lab
