#pragma once

#include <functional>
#include <span>
#include <string>

#include "platform/Data.h"

namespace korvan {

/// A program that answers a line for each file whose name comes as a line on standard input, and
/// flushes it, so that whoever asks knows at which file the program died if it does.
///
/// `read` makes the line of the file's bytes. With the argument `--read-only`, `read` gets `false`
/// and answers anything after it has read the bytes: what the reading costs can so be told from
/// what the writing does. A file that cannot be opened is answered with an error.
int runReaderProgram(std::span<const char* const> arguments,
                     const std::function<std::string(const Data& bytes, bool isToBeWritten)>& read);

}  // namespace korvan
