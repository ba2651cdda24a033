// The bundle: one file that an engineer attaches to a fault report. It has the last frames of the bus, the last
// front keys, the last lines of every process, the picture, the state of the screen, of the database, of the
// board and of the services, the configuration and the versions.
#pragma once

#include <string>
#include <vector>

#include "unit/bundle/archive.h"

namespace unit {

// Names of the files in a bundle. The panel's answers are under state/, the configuration is under
// BUNDLE_CONFIG.
constexpr const char* BUNDLE_ABOUT = "about.json";  // time, versions and options
constexpr const char* BUNDLE_BUS = "bus.log";       // candump -L
constexpr const char* BUNDLE_KEYS = "keys.log";     // front keys, "(SECONDS) key 3 down"
constexpr const char* BUNDLE_LINES = "lines.log";   // "SECONDS PROCESS LINE"
constexpr const char* BUNDLE_SCREEN = "state/screen.json";
// What the screen showed before: two answers of the panel under the names that unit/history reads, and a
// folder.
constexpr const char* BUNDLE_STATE = "state";
constexpr const char* BUNDLE_HISTORY = "state/history.json";
constexpr const char* BUNDLE_HISTORY_SCREENS = "state/history/";
constexpr const char* BUNDLE_CONFIG = "config/";

// Writes a bundle of the unit of this runtime directory. Of a unit that has ended, the files under state/ are
// missing. Replaces a file with `force` only. Prints what the bundle has and what is missing. Returns the exit
// status.
int MakeBundle(const std::string& file, bool force);

// Compares two states of the screen (as GET /api/screen returns them): page, texts, lamps. Returns one line for
// each difference. Leaves out texts that follow the clock or count messages; measured values count as equal
// where the screen cannot show their difference.
std::vector<std::string> CompareScreens(const std::string& recorded, const std::string& shown);

// Whether two answers of GET /api/screen are of the same state, to the last digit of each value.
bool IsSameState(const std::string& first, const std::string& second);

// Describes a bundle in one line: "made 2026-03-01 12:00:00 by unit 1.3.109; 1234 frames, page Main".
std::string DescribeBundle(const archive_t& bundle);

}  // namespace unit
