#include "unit/screen/design/design_watch.h"

#include <system_error>
#include <utility>

namespace unit {

namespace fs = std::filesystem;

DesignWatch::DesignWatch(fs::path folder) : folder_(std::move(folder)), reported_(List()), last_(reported_) {}

bool DesignWatch::Changed(TimePoint now) {
  if (now < nextLook_) return false;
  nextLook_ = now + PERIOD;
  listing_t found = List();
  const bool changed = found == last_ && found != reported_;
  if (changed) reported_ = found;
  last_ = std::move(found);
  return changed;
}

DesignWatch::listing_t DesignWatch::List() const {
  listing_t listing;
  std::error_code error;
  for (fs::directory_iterator entry(folder_, error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    std::error_code gone;  // between the listing and the look
    const auto written = entry->last_write_time(gone);
    const auto size = entry->file_size(gone);
    if (!gone) listing[entry->path()] = {written, size};
  }
  return listing;
}

}  // namespace unit
