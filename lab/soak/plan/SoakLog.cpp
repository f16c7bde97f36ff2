#include "lab/soak/plan/SoakLog.h"

#include <chrono>

#include <fcntl.h>
#include <unistd.h>

#include "lab/support/SystemError.h"

namespace korvan::lab::soak {
namespace {

constexpr std::size_t PageSize = 4096;
constexpr mode_t OwnerOnly = 0600;

static_assert(PageSize % sizeof(SoakRecord) == 0);

}  // namespace

std::int64_t now() noexcept {
  const auto time = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(time).count();
}

std::uint64_t digestOf(std::span<const std::uint8_t> frame) noexcept {
  std::uint64_t digest = 0xCBF29CE484222325U;
  for (const std::uint8_t byte : frame) {
    digest = (digest ^ byte) * 0x100000001B3U;
  }
  return digest;
}

SoakLog::SoakLog(const std::filesystem::path& file)
    : file_(::open(file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, OwnerOnly)) {
  requireSystem(file_.get() >= 0, "Opening " + file.string());
}

void SoakLog::write(const SoakRecord& record) const {
  requireSystem(::write(file_.get(), &record, sizeof record) == sizeof record, "Writing the log");
}

std::vector<SoakRecord> SoakLogReader::next() {
  std::vector<SoakRecord> records;
  std::ifstream stream(file_, std::ios::binary);
  stream.seekg(position_);
  SoakRecord record;
  while (stream.read(reinterpret_cast<char*>(&record), sizeof record)) {
    records.push_back(record);
    position_ += sizeof record;
  }
  return records;
}

}  // namespace korvan::lab::soak
