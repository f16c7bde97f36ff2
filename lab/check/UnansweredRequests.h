#pragma once

#include <set>
#include <string>
#include <string_view>

#include "channel/ProviderMessage.h"

namespace korvan::lab::check {

/// The requests that the host has left without a byte for the whole timeout. Nothing is asked that
/// would only take the same time again.
class UnansweredRequests {
 public:
  void add(const ProviderMessage& request);

  /// Of the host that ran; one that is started again answers at least what it answered before.
  void forgetHost() noexcept { isLeft_ = holdsVault_ = hangs_ = false; }

  /// Whether a request like this one was left, by whichever host of the run.
  [[nodiscard]] bool contains(const ProviderMessage& request) const;

  /// Whether the host that runs has left any.
  [[nodiscard]] bool isLeft() const noexcept { return isLeft_; }

  /// Whether it has left one that needs its vault, which it may hold until its user answers.
  [[nodiscard]] bool holdsVault() const noexcept { return holdsVault_; }

  /// Whether it has left one that every host answers.
  [[nodiscard]] bool hangs() const noexcept { return hangs_; }

 private:
  std::set<std::string> kinds_;
  bool isLeft_ = false;
  bool holdsVault_ = false;
  bool hangs_ = false;
};

[[nodiscard]] bool needsVault(const ProviderMessage& request);

/// The check that judges whether a request like this one is answered; empty when none does.
[[nodiscard]] std::string_view judgeOfAnswering(const ProviderMessage& request);

}  // namespace korvan::lab::check
