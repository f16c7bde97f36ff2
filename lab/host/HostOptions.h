#pragma once

#include <string>

#include "lab/host/RequestHandler.h"

namespace CLI {
class App;
}  // namespace CLI

namespace korvan::lab::host {

inline constexpr const char* HostProgramName = "korvan-sample-host";

/// What the arguments of korvan-sample-host ask for. An empty text was not given.
struct HostOptions {
  std::string container;
  std::string vault;
  std::string url;
  RequestHandler::Behavior behavior;
};

/// Gives `app` the options of korvan-sample-host, which set `options` when it parses; `options`
/// outlives it. `program` is the program's name as the user typed it.
void describeHostProgram(CLI::App& app, HostOptions& options, const std::string& program);

}  // namespace korvan::lab::host
