#include "lab/commands/PasskeyFile.h"

#include <cerrno>
#include <exception>
#include <fstream>
#include <system_error>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "lab/support/FileContents.h"

namespace korvan::lab {

EnrolledPasskey passkeyIn(const std::string& file, const std::string& option) {
  try {
    return readPasskey(nlohmann::ordered_json::parse(contentsOf(file)));
  } catch (const std::system_error& error) {
    throw CLI::ValidationError(option, error.what());
  } catch (const nlohmann::json::parse_error& error) {
    throw CLI::ValidationError(option, file + " is not JSON, as register --save writes it");
  } catch (const std::exception& flaw) {
    throw CLI::ValidationError(option, file + ": " + flaw.what());
  }
}

void savePasskey(const EnrolledPasskey& passkey, const std::string& file) {
  std::ofstream output(file);
  output << jsonOf(passkey).dump(2) << '\n' << std::flush;
  if (!output) {
    throw std::system_error(errno, std::generic_category(), "cannot write " + file);
  }
}

}  // namespace korvan::lab
