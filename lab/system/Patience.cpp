#include "lab/system/Patience.h"

#include <algorithm>

namespace korvan::lab {

void Patience::restart() {
  const std::scoped_lock lock(mutex_);
  end_ = Clock::now() + limit_.value_or(Milliseconds());
  whatFor_ = "take the request";
  gaveUp_ = false;
}

std::optional<Patience::Milliseconds> Patience::left() const {
  if (!limit_) {
    return std::nullopt;
  }
  const std::scoped_lock lock(mutex_);
  const auto left = std::chrono::ceil<Milliseconds>(end_ - Clock::now());
  return std::max(left, Milliseconds(1));
}

bool Patience::isOver() const {
  if (!limit_) {
    return false;
  }
  const std::scoped_lock lock(mutex_);
  return Clock::now() >= end_;
}

void Patience::giveUp() {
  const std::scoped_lock lock(mutex_);
  gaveUp_ = true;
}

bool Patience::gaveUp() const {
  const std::scoped_lock lock(mutex_);
  return gaveUp_;
}

void Patience::waitFor(std::string_view whatFor) {
  const std::scoped_lock lock(mutex_);
  whatFor_ = whatFor;
}

std::string Patience::waitsFor() const {
  const std::scoped_lock lock(mutex_);
  return whatFor_;
}

}  // namespace korvan::lab
