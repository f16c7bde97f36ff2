#include "lab/soak/plan/SoakLog.h"

#include <ctime>

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
  timespec time{};
  ::clock_gettime(CLOCK_MONOTONIC, &time);
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

SoakLog::SoakLog(const std::filesystem::path& file)
    : file_(::open(file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, OwnerOnly)) {
  requireSystem(file_.get() >= 0, "Opening " + file.string());
}

void SoakLog::write(SoakRecord::Event event, std::uint64_t number, std::uint32_t attempt,
                    std::uint64_t bytes) const {
  const SoakRecord record{
      .event = event, .attempt = attempt, .number = number, .bytes = bytes, .time = now()};
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
