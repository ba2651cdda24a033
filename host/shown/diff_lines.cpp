#include "host/shown/diff_lines.h"

#include <nlohmann/json.hpp>

#include "base/json_text.h"
#include "host/protocol/message_lines.h"

namespace host {
namespace {

using Json = nlohmann::ordered_json;

constexpr double MICROS_PER_SECOND = 1e6;

double ToSeconds(std::uint64_t time_us) {
  return static_cast<double>(time_us) / MICROS_PER_SECOND;
}

// The text of one side, with its time if there is one and the heading has another.
std::string FormatSide(const shown_otherwise_t& shown, std::size_t side, std::uint64_t head_us) {
  const std::string text = shown.text[side].empty() ? "nothing" : shown.text[side];
  const std::uint64_t since_us = shown.time_us[side];
  return since_us == head_us || since_us == 0 ? text : text + " since " + FormatTimeOfDay(since_us);
}

Json TextJson(const std::string& text) {
  return text.empty() ? Json(nullptr) : Json(text);
}

}  // namespace

std::string FormatDifference(const difference_t& difference) {
  constexpr std::array<const char*, SIDES> NAMES = {"A ", "  B "};
  std::string lines;
  for (std::size_t side = 0; side < SIDES; ++side) {
    const std::uint64_t time_us = difference.time_us[side];
    lines += NAMES[side] + (time_us == 0 ? "(no frame yet)" : FormatTimeOfDay(time_us));
  }
  lines += "\n";
  if (difference.shown.empty()) lines += "  the same changes, in another order\n";
  for (const shown_otherwise_t& shown : difference.shown) {
    lines += "  " + shown.name + ": " + FormatSide(shown, 0, difference.time_us[0]) + " | " +
             FormatSide(shown, 1, difference.time_us[1]) + "\n";
  }
  return lines;
}

std::string FormatDifferenceJson(const difference_t& difference) {
  constexpr std::array<const char*, SIDES> NAMES = {"a", "b"};
  Json line;
  Json shown = Json::object();
  for (std::size_t side = 0; side < SIDES; ++side) {
    line[NAMES[side]] = {{"time", ToSeconds(difference.time_us[side])}, {"states", difference.states[side]}};
    for (const shown_otherwise_t& one : difference.shown) {
      Json& entry = shown[one.name];
      entry[NAMES[side]] = TextJson(one.text[side]);
      entry[std::string(NAMES[side]) + "_time"] = ToSeconds(one.time_us[side]);
    }
  }
  line["shown"] = std::move(shown);
  return base::DumpOrderedJson(line);
}

}  // namespace host
