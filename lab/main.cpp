#include <clocale>

#include "lab/commands/LabProgram.h"
#include "lab/support/ProgramMain.h"

int main(int argc, char** argv) {
  // The notice is in the user's language; numbers keep the C locale. There are no threads yet.
  std::setlocale(LC_MESSAGES, "");  // NOLINT(concurrency-mt-unsafe)
  return korvan::lab::runProgram(korvan::lab::LabProgramName,
                                 [&] { return korvan::lab::runLabProgram(argc, argv); });
}
