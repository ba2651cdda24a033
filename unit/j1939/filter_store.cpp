#include "unit/j1939/filter_store.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace unit {

namespace {

constexpr std::string_view STANDARD = "standard";
constexpr std::string_view MULTIPACKET = "multipacket";

}  // namespace

// A line is "standard 18ff00d0 ffffff OrvikReceiveChannel"; lines of another form are skipped.
FilterStore::FilterStore(const std::string& file) : file_(file) {
  std::error_code unknown;
  if (!std::filesystem::is_regular_file(file, unknown)) return;  // a FIFO would keep its reader for ever
  std::ifstream stream(file);
  for (std::string line; std::getline(stream, line) && Count() < MAX_FILTERS;) {
    filter_request_t filter;
    std::string reach;
    std::istringstream fields(line);
    if (!(fields >> reach >> std::hex >> filter.identifier >> filter.mask)) continue;
    if (filter.identifier > LAST_IDENTIFIER || (reach != STANDARD && reach != MULTIPACKET)) continue;
    if (fields.get() != ' ' || !std::getline(fields, filter.channelName) || filter.channelName.empty())
      continue;
    filter.reach = reach == STANDARD ? reach_t::STANDARD : reach_t::MULTIPACKET;
    filters_[filter.reach][filter.identifier] = filter;
  }
}

bool FilterStore::Add(const filter_request_t& filter) {
  std::map<std::uint32_t, filter_request_t>& table = filters_.at(filter.reach);
  if (Count() >= MAX_FILTERS && !table.contains(filter.identifier)) return false;
  table[filter.identifier] = filter;
  Write();
  return true;
}

std::size_t FilterStore::Count() const {
  return All(reach_t::STANDARD).size() + All(reach_t::MULTIPACKET).size();
}

void FilterStore::Remove() {
  file_.Remove();
}

// A failure is not reported: only a later run of the service needs the file.
void FilterStore::Write() {
  std::ostringstream text;
  text << std::hex;
  for (const auto& [reach, table] : filters_) {
    for (const auto& [identifier, filter] : table) {
      text << (reach == reach_t::STANDARD ? STANDARD : MULTIPACKET) << ' ' << identifier << ' ' << filter.mask
           << ' ' << filter.channelName << '\n';
    }
  }
  file_.Write(text.str());
}

}  // namespace unit
