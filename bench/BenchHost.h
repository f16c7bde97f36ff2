#pragma once

#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "platform/Data.h"

namespace korvan::bench {

/// A host application in a thread: reads one frame a connection, whatever it says, and answers with
/// the same body every time. The socket file and its directory are gone with the object.
class BenchHost {
 public:
  explicit BenchHost(const Data& answer);
  BenchHost(const BenchHost&) = delete;
  BenchHost& operator=(const BenchHost&) = delete;
  ~BenchHost();

  /// The directory of the socket file, mode 0700.
  [[nodiscard]] const std::string& directory() const { return directory_; }
  [[nodiscard]] const std::string& socketPath() const { return socketPath_; }

 private:
  void serve() const;

  std::vector<std::uint8_t> answerFrame_;
  std::string directory_;
  std::string socketPath_;
  int listener_ = -1;
  std::thread thread_;
};

}  // namespace korvan::bench
