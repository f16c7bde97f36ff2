#pragma once

#include <CLI/CLI.hpp>

namespace korvan::lab {

/// Restricts an option to a relying party's identifier: a domain, and no URL or port.
[[nodiscard]] CLI::Validator isDomain();

}  // namespace korvan::lab
