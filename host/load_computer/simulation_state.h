// The state of the simulated crane and its load computer at one moment, for the terminal and for the panel.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "host/crane/crane.h"
#include "host/crane/limits.h"
#include "host/crane/rating.h"
#include "host/load_computer/dialogue.h"
#include "host/load_computer/sensors.h"

namespace simulate {

struct simulation_state_t {
  double time_s = 0;  // of the crane
  std::string scenario;
  measured_t measured;  // as sent to the display, but in metres, kilograms, degrees and bar
  double length = 0;
  double hookHeight = 0;
  double sheaveHeight = 0;
  double netLoad = 0;
  double wind = 0;
  crane::rigging_t rigging;
  crane::base_t base = crane::base_t::TIRES;
  bool baseMoves = false;
  bool atRest = true;
  std::vector<crane::rated_point_t> curve;  // of the load chart, at the present length
  std::array<crane::limit_t, crane::QUANTITY_NAMES.size()> limits;
  std::vector<std::string> lamps;
  std::vector<std::string> faults;  // sensor faults that are set
  settings_t settings;
  view_t view = view_t::OPERATING;
  unsigned infoPage = 0;
  bool silent = false;                                     // the host sends nothing for a while
  std::vector<std::pair<std::string, std::string>> texts;  // field and text
  std::uint64_t replies = 0;                               // messages received from the display
  std::string displayFileId;                               // from the display's reply; empty before it
};

}  // namespace simulate
