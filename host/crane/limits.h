// The working limits that the operator sets on angle, radius, extension and swing.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace crane {

enum class quantity_t : std::uint8_t { ANGLE, RADIUS, EXTENSION, SWING };
constexpr std::array<std::string_view, 4> QUANTITY_NAMES = {"angle", "radius", "extension", "swing"};

// In degrees or metres; a side without a value has no limit. For swing `least` is the left side and `most` the
// right.
struct limit_t {
  std::optional<double> least;
  std::optional<double> most;
};

class Limits {
 public:
  void Set(quantity_t quantity, const limit_t& limit);
  // Sets limits at a margin from the present value: on both sides for angle and swing, above for the others.
  void SetAround(quantity_t quantity, double value);
  void Clear(quantity_t quantity);
  void ClearAll() { watched_ = {}; }

  // Compares a measured value with its limit. A value beyond the limit trips it; the limit stays tripped until
  // the value is back inside by a small margin. An unknown value (NaN) changes nothing.
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
