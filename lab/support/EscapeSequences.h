#pragma once

namespace korvan::lab {

/// True when standard output is a terminal that takes escape sequences, and its user has not
/// declined them with NO_COLOR (https://no-color.org). Not while another thread changes the
/// environment.
[[nodiscard]] bool outputTakesEscapeSequences();

}  // namespace korvan::lab
