// The limits that the operator sets for himself on angle, radius, extension and swing.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace crane {

enum class quantity_t : std::uint8_t { ANGLE, RADIUS, EXTENSION, SWING };
constexpr std::array<std::string_view, 4> QUANTITY_NAMES = {"angle", "radius", "extension", "swing"};

// Degrees or metres; a side without a value has no limit. For swing the least is the left and the most the
// right.
struct limit_t {
  std::optional<double> least;
  std::optional<double> most;
};

class Limits {
 public:
  void Set(quantity_t quantity, const limit_t& limit);
  // Around the value as it is now, by the margin that suits the quantity: both sides of an angle and of swing,
  // the far side of the others.
  void SetAround(quantity_t quantity, double value);
  void Clear(quantity_t quantity);
  void ClearAll() { watched_ = {}; }

  // Compares a measured value. Passing the limit trips it; it holds until the value is back by a small margin.
  // A value that is not known (NaN) changes nothing.
  void Check(quantity_t quantity, double value);

  const limit_t& Get(quantity_t quantity) const { return At(quantity).limit; }
  bool IsSet(quantity_t quantity) const { return At(quantity).limit.least || At(quantity).limit.most; }
  bool IsTripped(quantity_t quantity) const { return At(quantity).tripped; }
  bool AnyTripped() const;

 private:
  struct watched_limit_t {
    limit_t limit;
    bool tripped = false;
  };
  const watched_limit_t& At(quantity_t quantity) const { return watched_[static_cast<std::size_t>(quantity)]; }
  watched_limit_t& At(quantity_t quantity) { return watched_[static_cast<std::size_t>(quantity)]; }

  std::array<watched_limit_t, QUANTITY_NAMES.size()> watched_{};
};

}  // namespace crane
