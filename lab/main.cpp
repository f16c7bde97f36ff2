#include <clocale>
#include <cstdlib>
#include <exception>
#include <iostream>

#include "lab/commands/LabProgram.h"

int main(int argc, char** argv) {
  // The notice is in the user's language; numbers keep the C locale. There are no threads yet.
  std::setlocale(LC_MESSAGES, "");  // NOLINT(concurrency-mt-unsafe)
  try {
    return korvan::lab::runLabProgram(argc, argv);
  } catch (const std::exception& error) {
    std::cerr << "korvan-lab: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
