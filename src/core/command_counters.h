// The counters of host commands, and the names under which the counter dump prints them.
//
// To add a command: its enumerator here, its name in COMMAND_COUNTER_NAMES, its handler and its row in the
// table of parse_thread.cpp or cmd7.cpp; in can_transport.cpp where the receive thread answers it.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "src/core/orvik_data.h"

// Indices into CommandCounts and COMMAND_COUNTER_NAMES.
enum command_counter_t : unsigned char {
  COUNT_CMD0 = 0,
  COUNT_CMD1 = 1,
  COUNT_CMD2 = 2,
  COUNT_CMD3 = 3,
  COUNT_CMD4 = 4,
  COUNT_CMD5 = 5,
  COUNT_CMD6 = 6,
  COUNT_CMD7_1 = 7,
  COUNT_CMD7_2 = 8,
  COUNT_CMD7_3 = 9,
  COUNT_CMD7_4 = 10,
  COUNT_CMD7_5 = 11,
  COUNT_CMD7_6 = 12,
  COUNT_CMD7_7 = 13,
  COUNT_CMD7_8 = 14,
  COUNT_CMD7_9 = 15,
  COUNT_CMD7_10 = 16,
  COUNT_CMD7_11 = 17,
  COUNT_CMD7_12 = 18,
  COUNT_CMD7_13 = 19,
  COUNT_CMD7_14 = 20,
  COUNT_CMD7_15 = 21,
  COUNT_CMD7_16 = 22,
  COUNT_CMD7_17 = 23,
  COUNT_CMD7_21 = 24,  // no command of this build advances it
  COUNT_CMD7_UNRECOGNIZED = 25,
  COUNT_CMD8 = 26,  // CMD9 advances it too
  COUNT_CMD9 = 27,  // stays 0: the protocol counts CMD9 as CMD8
  COUNT_CMD_UNRECOGNIZED = 28,
  COUNT_TOTAL_CMDS = 29,
  COUNT_TOTAL_PKTS = 30,
  COUNT_NONE = 0xFF,  // of a command that has no counter; IncrementCommandCounter ignores it
};
constexpr std::size_t COMMAND_COUNTERS = COUNT_TOTAL_PKTS + 1;

extern std::array<PlainWord<std::uint32_t>, COMMAND_COUNTERS> CommandCounts;
extern const std::array<std::string_view, COMMAND_COUNTERS> COMMAND_COUNTER_NAMES;

// Adds 1 to CommandCounts[index]; ignores an index outside the table. Writes the new value of COUNT_TOTAL_CMDS
// to the database too. Called by the receive thread (immediate requests, COUNT_TOTAL_PKTS) and the parse
// thread. Two threads that count the same index at the same time may lose one count; the counters serve
// diagnosis only.
void IncrementCommandCounter(orvikData_t* data, unsigned char index);
// Prints one line on standard output: the counter's name, " : " and the count.
void DumpCommandCounter(unsigned char index);
void DumpCommandCounterAll();
