#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>

namespace korvan {

/// An immutable run of bytes that copies share: a copy costs a reference count, never the bytes.
///
/// Copies may be used on any thread. Empty data holds no memory.
class Data {
 public:
  Data() noexcept = default;

  /// Shares `size` bytes at `first`; what `first` owns lives as long as any copy or slice does.
  Data(std::shared_ptr<const std::uint8_t> first, std::size_t size) noexcept
      : first_(std::move(first)), size_(size) {
    if (size_ == 0) {
      first_.reset();
    }
  }

  /// A copy of `bytes`, in one allocation.
  static Data copyOf(std::span<const std::uint8_t> bytes);

  /// The `size` bytes from `offset` on, sharing these bytes. The caller has checked that they
  /// exist.
  [[nodiscard]] Data slice(std::size_t offset, std::size_t size) const noexcept {
    return {std::shared_ptr<const std::uint8_t>(first_, first_.get() + offset), size};
  }

  [[nodiscard]] std::span<const std::uint8_t> bytes() const noexcept {
    return {first_.get(), size_};
  }
  [[nodiscard]] std::size_t size() const noexcept { return size_; }
  [[nodiscard]] bool empty() const noexcept { return size_ == 0; }

  /// True when both hold the same bytes, wherever they are kept.
  friend bool operator==(const Data& left, const Data& right) noexcept;

 private:
  std::shared_ptr<const std::uint8_t> first_;
  std::size_t size_ = 0;
};

/// A buffer to fill and then freeze into Data without a copy.
class MutableData {
 public:
  /// `size` zero bytes, in one allocation.
  static MutableData zeroed(std::size_t size);

  /// `size` bytes of unspecified value, in one allocation, for a caller that writes them all.
  static MutableData uninitialized(std::size_t size);

  [[nodiscard]] std::span<std::uint8_t> bytes() noexcept { return {first_.get(), size_}; }

  /// Hands the bytes over; this buffer is empty afterwards.
  [[nodiscard]] Data freeze() && noexcept;

  /// Hands the first `size` bytes over, of at most as many as there are.
  [[nodiscard]] Data freeze(std::size_t size) && noexcept;

 private:
  MutableData(std::shared_ptr<std::uint8_t> first, std::size_t size) noexcept
      : first_(std::move(first)), size_(size) {}

  std::shared_ptr<std::uint8_t> first_;
  std::size_t size_ = 0;
};

}  // namespace korvan
