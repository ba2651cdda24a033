// The filters that the J1939 service has been asked for, kept in the runtime directory.
//
// The application asks once, when it starts. A service that was killed and started again finds the filters
// here, and the display hears its host again.
#pragma once

#include <map>
#include <string>

#include "unit/j1939/j1939_requests.h"

namespace unit {

// One thread at a time uses an object.
class FilterStore {
 public:
  static constexpr std::size_t MAX_FILTERS = 256;

  // Takes over what a killed service left in `file`.
  explicit FilterStore(std::string file);

  // Enters or replaces a filter. False when there are too many.
  bool Add(const filter_request_t& filter);
  // By identifier; only standard and multi-packet filters are kept.
  const std::map<std::uint32_t, filter_request_t>& All(reach_t reach) const { return filters_.at(reach); }
  bool Has(std::uint32_t identifier) const { return All(reach_t::STANDARD).contains(identifier); }
  std::size_t Count() const;
  // Forgets the file, at an orderly end.
  void Remove();

 private:
  void Save() const;

  const std::string file_;
  std::map<reach_t, std::map<std::uint32_t, filter_request_t>> filters_ = {{reach_t::STANDARD, {}},
                                                                           {reach_t::MULTIPACKET, {}}};
};

}  // namespace unit
