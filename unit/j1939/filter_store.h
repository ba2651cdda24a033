// The filters that the clients of the J1939 service have requested, kept in a file of the runtime directory.
//
// The application requests its filters once, when it starts. A J1939 service that was killed and started again
// reads them from the file, so that the application receives the host's frames again.
#pragma once

#include <map>
#include <string>

#include "base/kept_file.h"
#include "unit/j1939/j1939_requests.h"

namespace unit {

// Only one thread at a time may use an object. No call blocks, because the thread that delivers the host's
// frames waits for each: the file is written by a thread of its own.
class FilterStore {
 public:
  static constexpr std::size_t MAX_FILTERS = 256;

  // Reads the filters that a killed service left in `file`.
  explicit FilterStore(const std::string& file);

  // Adds or replaces a filter. False when there are too many.
  bool Add(const filter_request_t& filter);
  // By identifier. `reach` is STANDARD or MULTIPACKET.
  const std::map<std::uint32_t, filter_request_t>& All(reach_t reach) const { return filters_.at(reach); }
  bool Has(std::uint32_t identifier) const { return All(reach_t::STANDARD).contains(identifier); }
  std::size_t Count() const;
  // Removes the file, at an orderly end.
  void Remove();

 private:
  void Write();

  base::KeptFile file_;
  std::map<reach_t, std::map<std::uint32_t, filter_request_t>> filters_ = {{reach_t::STANDARD, {}},
                                                                           {reach_t::MULTIPACKET, {}}};
};

}  // namespace unit
