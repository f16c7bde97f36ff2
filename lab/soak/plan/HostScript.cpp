#include "lab/soak/plan/HostScript.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace korvan::lab::soak {

std::optional<HostScript> HostScript::readFrom(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  int reading = 0;
  HostScript script;
  if (!(stream >> reading >> script.stalls >> script.inDrops >> script.dies)) {
    return std::nullopt;
  }
  script.reading = static_cast<Reading>(reading);
  stream.get();
  script.sends.assign(std::istreambuf_iterator<char>(stream), {});
  return script;
}

void HostScript::writeTo(const std::filesystem::path& file) const {
  std::ofstream stream(file, std::ios::binary);
  stream << static_cast<int>(reading) << ' ' << stalls << ' ' << inDrops << ' ' << dies << '\n';
  stream.write(reinterpret_cast<const char*>(sends.data()), std::ssize(sends));
  stream.close();
  if (!stream) {
    throw std::runtime_error(file.string() + " cannot be written.");
  }
}

}  // namespace korvan::lab::soak
