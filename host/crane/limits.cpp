#include "host/crane/limits.h"

#include <algorithm>
#include <cmath>

namespace crane {
namespace {

struct margins_t {
  double around;  // distance from the present value
  bool bothSides;
  double backBy;  // so that a value at the limit does not trip and release repeatedly
};
constexpr std::array<margins_t, QUANTITY_NAMES.size()> MARGINS = {
    {{5, true, 0.3}, {1.5, false, 0.1}, {1.5, false, 0.1}, {15, true, 1}}};

const margins_t& MarginsOf(quantity_t quantity) {
  return MARGINS[static_cast<std::size_t>(quantity)];
}

double RoundToTenths(double value) {
  constexpr double PER_UNIT = 10;
  return std::round(value * PER_UNIT) / PER_UNIT;
}

bool IsBeyond(const limit_t& limit, double value, double inside) {
  return (limit.least && value < *limit.least + inside) || (limit.most && value > *limit.most - inside);
}

}  // namespace

void Limits::Set(quantity_t quantity, const limit_t& limit) {
  At(quantity) = {limit, false};
}

void Limits::SetAround(quantity_t quantity, double value) {
  const margins_t& margins = MarginsOf(quantity);
  limit_t limit{.least = {}, .most = RoundToTenths(value + margins.around)};
  if (margins.bothSides) limit.least = RoundToTenths(value - margins.around);
  Set(quantity, limit);
}

void Limits::Clear(quantity_t quantity) {
  At(quantity) = {};
}

void Limits::Check(quantity_t quantity, double value) {
  if (std::isnan(value)) return;
  watched_limit_t& watched = At(quantity);
  watched.tripped = IsBeyond(watched.limit, value, watched.tripped ? MarginsOf(quantity).backBy : 0);
}

bool Limits::AnyTripped() const {
  return std::ranges::any_of(watched_, &watched_limit_t::tripped);
}

}  // namespace crane
