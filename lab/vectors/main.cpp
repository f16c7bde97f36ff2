#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

#include <CLI/CLI.hpp>

#include "channel/ProviderMessage.h"
#include "lab/json/MessageJson.h"
#include "lab/support/FileContents.h"
#include "lab/vectors/AnswerVectors.h"
#include "lab/vectors/RequestVectors.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace {

using namespace korvan;
using namespace korvan::lab::vectors;
namespace fs = std::filesystem;

constexpr int UsageError = 2;

std::string_view textOf(const Data& bytes) {
  return {reinterpret_cast<const char*>(bytes.bytes().data()), bytes.size()};
}

Data bytesOf(std::string_view text) {
  return Data::copyOf({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

std::string readable(const Data& body) {
  return lab::messageJson(LinuxPropertyListSerialization(), body).dump(2) + "\n";
}

void writeFile(const fs::path& path, std::string_view contents) {
  std::ofstream file(path, std::ios::binary);
  file << contents << std::flush;
  if (!file) {
    throw std::runtime_error("cannot write " + path.string());
  }
}

void writeAll(const std::vector<MessageVector>& vectors, const fs::path& directory) {
  for (const auto& [name, message] : vectors) {
    const Data body = LinuxPropertyListSerialization().encodeBinary(message).value();
    writeFile(directory / (name + ".plist"), textOf(body));
    writeFile(directory / (name + ".json"), readable(body));
  }
}

void show(const std::string& file) {
  const Data body = bytesOf(lab::contentsOf(file));
  const auto decoded = decodeProviderMessage(LinuxPropertyListSerialization(), body);
  if (!decoded.message) {
    const std::string flaw = decoded.error
                                 ? decoded.error->localizedDescription.value_or("it is damaged")
                                 : "its top level is not a dictionary";
    throw std::runtime_error(file + " does not hold a message: " + flaw);
  }
  std::cout << readable(body);
}

void describe(CLI::App& app, std::string& directory, std::string& file) {
  app.description("Writes and shows the host protocol's example messages.");
  app.require_subcommand(1);
  CLI::App& write = *app.add_subcommand(
      "write", "writes each message's body, NAME.plist, and a readable form, NAME.json");
  write.add_option("DIR", directory, "Directory to write to")
      ->required()
      ->check(CLI::ExistingDirectory);
  write.callback([&directory] {
    writeAll(requestVectors(), directory);
    writeAll(answerVectors(), directory);
  });
  CLI::App& show = *app.add_subcommand(
      "show", "shows a message's body, a property list in any format, in the readable form");
  show.add_option("FILE", file, "The body, without the frame's four bytes")->required();
  show.callback([&file] { ::show(file); });
}

}  // namespace

int main(int argc, char** argv) {
  try {
    CLI::App app;
    std::string directory;
    std::string file;
    describe(app, directory, file);
    try {
      app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
      return app.exit(error) == 0 ? EXIT_SUCCESS : UsageError;
    }
    return EXIT_SUCCESS;
  } catch (const std::exception& error) {
    std::cerr << "korvan-vectors: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
