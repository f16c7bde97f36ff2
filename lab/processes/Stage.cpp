#include "lab/processes/Stage.h"

#include <cerrno>
#include <csignal>
#include <fstream>
#include <stdexcept>
#include <utility>

#include <sys/prctl.h>
#include <sys/wait.h>

#include "lab/support/SystemError.h"

namespace korvan::lab {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view LauncherName = "open-korvan";
constexpr std::string_view LaunchedProcessName = "launched.pid";
constexpr std::string_view LaunchedEventsName = "launched.events";

void setAdoption(bool adopts) {
  requireSystem(::prctl(PR_SET_CHILD_SUBREAPER, adopts ? 1 : 0) == 0, "adopting processes");
}

/// Text as one word of the shell.
std::string quoted(const std::string& text) {
  std::string word = "'";
  for (const char character : text) {
    word += character == '\'' ? std::string("'\\''") : std::string(1, character);
  }
  return word + "'";
}

std::vector<std::string> hostArguments(const fs::path& container,
                                       const std::vector<std::string>& more) {
  std::vector<std::string> arguments = {"--container", container};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

}  // namespace

fs::path builtProgram(const std::string& name, const fs::path& folder) {
  const fs::path here = fs::read_symlink("/proc/self/exe").parent_path();
  const fs::path beside = here / name;
  const fs::path below = here / folder / name;
  if (!fs::exists(beside) && !fs::exists(below)) {
    throw std::runtime_error(name + " is missing: there is no " + beside.string() + " and no " +
                             below.string() + ".");
  }
  return fs::exists(beside) ? beside : below;
}

fs::path sampleHostProgram() { return builtProgram("korvan-sample-host", "host"); }

Stage::Stage(fs::path directory) : directory_(std::move(directory)) { setAdoption(true); }

Stage::~Stage() {
  stopLaunchedHost();
  ::prctl(PR_SET_CHILD_SUBREAPER, 0);
}

SampleHostProcess& Stage::startHost(const fs::path& program,
                                    const std::vector<std::string>& arguments) {
  return hosts_.emplace_back(program, hostArguments(container(), arguments));
}

fs::path Stage::writeLauncher(const std::vector<std::string>& arguments,
                              const fs::path& program) const {
  const fs::path launcher = file(LauncherName);
  std::ofstream script(launcher);
  script << "#!/bin/sh\necho $$ >" << quoted(file(LaunchedProcessName)) << "\nexec "
         << quoted(program);
  for (const std::string& argument : hostArguments(container(), arguments)) {
    script << ' ' << quoted(argument);
  }
  script << " \"$@\" >" << quoted(file(LaunchedEventsName)) << '\n';
  script.close();
  fs::permissions(launcher, fs::perms::owner_all);
  return launcher;
}

bool Stage::hasProcesses() {
  siginfo_t information{};
  return ::waitid(P_ALL, 0, &information, WEXITED | WNOHANG | WNOWAIT) == 0;
}

void Stage::stopLaunchedHost() const {
  const fs::path processFile = file(LaunchedProcessName);
  pid_t process = 0;
  std::ifstream(processFile) >> process;
  // waitpid() fails for a process that is not a child: an ID that was reused is another's.
  if (process <= 0 || ::waitpid(process, nullptr, WNOHANG) != 0) {
    return;
  }
  ::kill(process, SIGTERM);
  while (::waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
  }
  fs::remove(processFile);
}

}  // namespace korvan::lab
