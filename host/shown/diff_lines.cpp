#include "host/shown/diff_lines.h"

#include <nlohmann/json.hpp>

#include "host/protocol/message_lines.h"

namespace host {
namespace {

using Json = nlohmann::ordered_json;

constexpr double MICROS_PER_SECOND = 1e6;

double ToSeconds(std::uint64_t time_us) {
  return static_cast<double>(time_us) / MICROS_PER_SECOND;
}

// The time stands where it is not that of the head, and where there is one.
std::string SideWords(const shown_otherwise_t& shown, std::size_t side, std::uint64_t head_us) {
  const std::string text = shown.text[side].empty() ? "nothing" : shown.text[side];
  const std::uint64_t since_us = shown.time_us[side];
  return since_us == head_us || since_us == 0 ? text : text + " since " + FormatTimeOfDay(since_us);
}

Json TextJson(const std::string& text) {
  return text.empty() ? Json(nullptr) : Json(text);
}

}  // namespace

std::string DifferenceLines(const difference_t& difference) {
  constexpr std::array<const char*, SIDES> NAMES = {"A ", "  B "};
  std::string lines;
  for (std::size_t side = 0; side < SIDES; ++side) {
    const std::uint64_t time_us = difference.time_us[side];
    lines += NAMES[side] + (time_us == 0 ? "(no frame yet)" : FormatTimeOfDay(time_us));
  }
  lines += "\n";
  if (difference.shown.empty()) lines += "  the same changes, in another order\n";
  for (const shown_otherwise_t& shown : difference.shown) {
    lines += "  " + shown.name + ": " + SideWords(shown, 0, difference.time_us[0]) + " | " +
             SideWords(shown, 1, difference.time_us[1]) + "\n";
  }
  return lines;
}

std::string DifferenceJson(const difference_t& difference) {
  constexpr std::array<const char*, SIDES> NAMES = {"a", "b"};
  Json line;
  for (std::size_t side = 0; side < SIDES; ++side) {
    line[NAMES[side]] = {{"time", ToSeconds(difference.time_us[side])}, {"states", difference.states[side]}};
  }
  line["shown"] = Json::object();
  for (const shown_otherwise_t& shown : difference.shown) {
    Json& entry = line["shown"][shown.name];
    for (std::size_t side = 0; side < SIDES; ++side) {
      entry[NAMES[side]] = TextJson(shown.text[side]);
      entry[std::string(NAMES[side]) + "_time"] = ToSeconds(shown.time_us[side]);
    }
  }
  return line.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace host
