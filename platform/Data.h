#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>
#include <vector>

namespace korvan {

/// Immutable bytes that copies share. A copy costs a reference count.
///
/// Copies may be used on any thread.
class Data {
 public:
  Data() noexcept = default;

  /// Takes the bytes without copying them.
  Data(std::vector<std::uint8_t> bytes);

  /// Shares `size` bytes at `first`. Copies and slices keep alive what `first` owns.
  Data(std::shared_ptr<const std::uint8_t> first, std::size_t size) noexcept
      : first_(std::move(first)), size_(size) {}

  static Data copyOf(std::span<const std::uint8_t> bytes);

  /// The `size` bytes from `offset` on, which must exist. Shares them.
  [[nodiscard]] Data slice(std::size_t offset, std::size_t size) const noexcept {
    return {std::shared_ptr<const std::uint8_t>(first_, first_.get() + offset), size};
  }

  [[nodiscard]] std::span<const std::uint8_t> bytes() const noexcept {
    return {first_.get(), size_};
  }
  [[nodiscard]] std::size_t size() const noexcept { return size_; }
  [[nodiscard]] bool empty() const noexcept { return size_ == 0; }

  /// Compares the bytes.
  friend bool operator==(const Data& left, const Data& right) noexcept;

 private:
  std::shared_ptr<const std::uint8_t> first_;
  std::size_t size_ = 0;
};

}  // namespace korvan
