#include <algorithm>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

#include "fuzz/Fuzzing.h"

// Stands in for the fuzzing engine where the corpus is run as a test: gives each file of a folder
// to the fuzzer.

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesIn(const fs::path& folder) {
  std::vector<fs::path> files{fs::directory_iterator(folder), fs::directory_iterator()};
  std::ranges::sort(files);
  return files;
}

std::vector<char> contentsOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  stream.exceptions(std::ios::badbit);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

int run(const fs::path& folder) {
  const auto files = filesIn(folder);
  for (const fs::path& file : files) {
    // The last name that is shown is the one that a crash belongs to.
    std::cout << file.filename().string() << std::endl;  // NOLINT(performance-avoid-endl)
    const auto bytes = contentsOf(file);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  }
  std::cout << files.size() << " inputs\n";
  return files.empty() ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc == 2) {
      return run(argv[1]);
    }
    std::cerr << "Give one folder, whose files are the inputs.\n";
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
  }
  return 1;
}
