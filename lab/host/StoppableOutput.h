#pragma once

#include <chrono>
#include <ios>
#include <streambuf>

namespace korvan::lab::host {

/// Writes to a descriptor, unbuffered, and waits for its reader, but not forever once the program
/// is asked to end: then writing fails if the reader takes nothing for `patience`. Not thread-safe.
class StoppableOutput final : public std::streambuf {
 public:
  /// `stop` becomes readable when the program is asked to end. Both descriptors outlive this
  /// object.
  StoppableOutput(int output, int stop,
                  std::chrono::milliseconds patience = std::chrono::seconds(1))
      : output_(output), stop_(stop), patience_(patience) {}

 protected:
  int_type overflow(int_type character) override;
  std::streamsize xsputn(const char* text, std::streamsize size) override;

 private:
  [[nodiscard]] bool waitForRoom() const;

  const int output_;
  const int stop_;
  const std::chrono::milliseconds patience_;
};

}  // namespace korvan::lab::host
