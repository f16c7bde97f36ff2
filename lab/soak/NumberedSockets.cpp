#include "lab/soak/NumberedSockets.h"

#include <algorithm>
#include <cerrno>

#include "channel/ProviderFrame.h"
#include "lab/soak/plan/ClientName.h"

namespace korvan::lab::soak {
namespace {

SoakAttempt attemptOf(std::span<const std::uint8_t> sent) {
  ProviderFramePrefix prefix{};
  const bool hasPrefix = sent.size() >= prefix.size();
  if (hasPrefix) {
    std::ranges::copy(sent.first(prefix.size()), prefix.begin());
  }
  return {
      .isSentWhole = hasPrefix && sent.size() == prefix.size() + decodeProviderFramePrefix(prefix),
      .bytesSent = sent.size()};
}

}  // namespace

int NumberedSockets::connect(int descriptor, std::string_view path) const {
  sent_.emplace_back();
  const ClientName name{.number = number_, .attempt = static_cast<std::uint32_t>(sent_.size())};
  return bindToName(descriptor, name) == 0 ? ForwardedSockets::connect(descriptor, path) : -1;
}

std::ptrdiff_t NumberedSockets::send(int descriptor, std::span<const std::uint8_t> bytes) const {
  const std::ptrdiff_t count = ForwardedSockets::send(descriptor, bytes);
  if (count > 0) {
    const int keptErrno = errno;
    const auto sent = bytes.first(static_cast<std::size_t>(count));
    sent_.back().insert(sent_.back().end(), sent.begin(), sent.end());
    errno = keptErrno;
  }
  return count;
}

std::vector<SoakAttempt> NumberedSockets::attempts() const {
  std::vector<SoakAttempt> attempts;
  attempts.reserve(sent_.size());
  for (const auto& sent : sent_) {
    attempts.push_back(attemptOf(sent));
  }
  return attempts;
}

}  // namespace korvan::lab::soak
