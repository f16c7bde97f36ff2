#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace korvan::bench {

/// The floor of an exchange: the same system calls with the same bytes, and nothing else. Aborts on
/// any failure, because the times would mean nothing.
[[nodiscard]] std::vector<std::uint8_t> bareExchange(const std::string& socketPath,
                                                     std::span<const std::uint8_t> request);

/// Asks an ssh-agent which keys it holds, over a connection of its own. Aborts unless it holds one.
void listOneKey(const std::string& agentSocketPath);

}  // namespace korvan::bench
