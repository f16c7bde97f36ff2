#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace korvan::bench {

/// A family of property lists that are as costly to read as their size allows, in some way.
class WorstShape {
 public:
  using Make = std::string (*)(std::size_t size);

  WorstShape(std::string_view name, Make make) noexcept : name_(name), make_(make) {}

  /// Format and shape, for people.
  [[nodiscard]] std::string_view name() const noexcept { return name_; }

  /// The bytes, of about `size`; not all are well-formed.
  [[nodiscard]] std::string bytes(std::size_t size) const { return make_(size); }

 private:
  std::string_view name_;
  Make make_;
};

/// Every shape, the binary ones first.
[[nodiscard]] std::vector<WorstShape> worstShapes();

/// Arrays of two references to the next one each, so many deep: it stands for 2 to the power of
/// `levels` values.
[[nodiscard]] std::string bombOfSharedReferences(std::size_t levels);

}  // namespace korvan::bench
