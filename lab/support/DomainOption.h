#pragma once

#include <CLI/CLI.hpp>

namespace korvan::lab {

/// Restricts an option to a relying party's identifier: a domain, without a URL's scheme or a port.
[[nodiscard]] CLI::Validator isDomain();

}  // namespace korvan::lab
