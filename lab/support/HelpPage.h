#pragma once

#include <string_view>

#include <CLI/CLI.hpp>

namespace korvan::lab {

/// Makes `page` the command's help, with the program's own name, as it was called, for
/// "korvan-lab": what the page shows can be pasted.
void setHelpPage(CLI::App& command, std::string_view page);

}  // namespace korvan::lab
