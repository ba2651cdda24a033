// The load chart: the rated capacity by radius and boom length for each configuration. It is read from a text
// file:
//
//   name Standard 50                       the chart's name
//   units metric                           metres and kilograms, or imperial: feet and pounds
//   configuration base=extended counterweight=on hook=boom
//   lengths  10.7  18.3  25.9  33.5        boom lengths, increasing
//   3.0     50000 30000     -     -        a radius, then a capacity for each length; - for none
//   3.5     46000 ...                      radii increase
//
// A configuration's attributes are base (tires, retracted, half, extended), counterweight (on, off), hook
// (boom, or the erected jib: long-0, short-0, long-15, ...) and arc (front: only over the front). An attribute
// that is not named has any value. The first configuration that fits applies. # begins a comment.
#pragma once

#include <iosfwd>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/crane/rigging.h"

namespace crane {

// The text is "FILE:LINE: what is wrong".
class ChartError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct conditions_t {
  base_t base = base_t::TIRES;
  bool counterweight = true;
  std::optional<jib_t> jib;  // the erected jib that the hook hangs from; empty: the boom
  area_t area = area_t::FRONT;
};

class LoadChart {
 public:
  // Throws ChartError.
  static LoadChart Parse(std::istream& in, const std::string& file);

  const std::string& Name() const { return name_; }
  // The capacity in kilograms, interpolated linearly between rows and columns. 0 outside the table, next to a
  // cell without a capacity, and if no configuration fits.
  double Capacity(const conditions_t& conditions, double radius, double length) const;
  bool Has(const conditions_t& conditions) const { return Find(conditions) != nullptr; }

 private:
  friend class ChartParser;
  struct table_t {
    std::optional<base_t> base;
    std::optional<bool> counterweight;
    bool anyHook = true;
    std::optional<jib_t> jib;
    bool frontOnly = false;
    std::size_t line = 0;
    std::vector<double> lengths;
    std::vector<double> radii;
    std::vector<double> capacities;  // row by row; 0 for none
  };
  const table_t* Find(const conditions_t& conditions) const;

  std::string name_;
  std::vector<table_t> tables_;
};

}  // namespace crane
