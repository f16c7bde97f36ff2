#include "lab/check/SynchronizeRecord.h"

#include <chrono>
#include <tuple>

#include "channel/ProviderFrame.h"

namespace korvan::lab::check {
namespace {

/// How long a host is given to speak first. Some time must do, since nothing tells that it will
/// not.
constexpr Connection::Duration EarlyTime = std::chrono::milliseconds(500);
/// How long a host may take to close, or to go on with an answer.
constexpr Connection::Duration PauseTime = std::chrono::seconds(1);

constexpr std::size_t MostBytes = 2 * MaxProviderMessageSize;

}  // namespace

SynchronizeRecord recordSynchronize(Connection connection, const Data& requestBody) {
  SynchronizeRecord record;
  record.early = connection.read(MostBytes, EarlyTime).bytes;
  std::ignore = connection.sendFrame(requestBody.bytes());
  std::ignore = connection.waitForBytes();
  while (record.answer.size() < MostBytes) {
    const Received some = connection.readSome(MostBytes - record.answer.size(), PauseTime);
    record.answer.insert(record.answer.end(), some.bytes.begin(), some.bytes.end());
    if (some.ending != Ending::complete) {
      record.ending = some.ending;
      break;
    }
  }
  return record;
}

}  // namespace korvan::lab::check
