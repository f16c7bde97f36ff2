#include <clocale>
#include <cstdlib>
#include <exception>
#include <iostream>

#include "lab/commands/LabProgram.h"

int main(int argc, char** argv) {
  // The notice speaks the language of whoever runs this; numbers stay as they are. There are no
  // threads yet.
  std::setlocale(LC_MESSAGES, "");  // NOLINT(concurrency-mt-unsafe)
  try {
    return korvan::lab::runLabProgram(argc, argv);
  } catch (const std::exception& error) {
    std::cerr << "korvan-lab: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
