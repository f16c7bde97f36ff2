#pragma once

#include <string_view>

namespace CLI {
class App;
}  // namespace CLI

namespace korvan::lab {

/// Makes `page` the command's help. "korvan-lab" in it is replaced by the program's name as the
/// user typed it, so that examples can be pasted.
void setHelpPage(CLI::App& command, std::string_view page);

}  // namespace korvan::lab
