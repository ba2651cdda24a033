// What an engineer attaches to a report, in one file: the last of the bus, of the front keys and of every
// process's lines, the picture, the screen's state, the database, the board, the services' health, the
// configuration and the versions.
#pragma once

#include <string>
#include <vector>

#include "unit/bundle/archive.h"

namespace unit {

// Names inside a bundle. What the unit's panel gives stands under BUNDLE_STATE, the configuration under
// BUNDLE_CONFIG.
constexpr const char* BUNDLE_ABOUT = "about.json";  // when and of what it was made
constexpr const char* BUNDLE_BUS = "bus.log";       // candump -L
constexpr const char* BUNDLE_KEYS = "keys.log";     // front keys, "(SECONDS) key 3 down"
constexpr const char* BUNDLE_LINES = "lines.log";   // "SECONDS PROCESS LINE"
constexpr const char* BUNDLE_SCREEN = "state/screen.json";
constexpr const char* BUNDLE_CONFIG = "config/";

// Writes it for the unit of this runtime directory, also when that runs no more: then without what only a
// running one can tell. Prints what is in it and what is missing. Returns the exit status.
int MakeBundle(const std::string& file);

// What differs between two states of the screen (as GET /api/screen gives them): page, texts, lamps. Lines for
// a person. What follows the clock or counts is not looked at.
std::vector<std::string> CompareScreens(const std::string& recorded, const std::string& shown);

// One line on a bundle: "made 2026-03-01 12:00:00 by unit 1.3.109; 1234 frames, page Main".
std::string DescribeBundle(const archive_t& bundle);

}  // namespace unit
