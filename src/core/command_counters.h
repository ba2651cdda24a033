// The counters of host commands.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "src/core/orvik_data.h"

constexpr std::size_t COMMAND_COUNTERS = 31;
constexpr unsigned char COUNT_CMD7_UNRECOGNIZED = 25;
constexpr unsigned char COUNT_CMD8 = 26;
constexpr unsigned char COUNT_CMD_UNRECOGNIZED = 28;
constexpr unsigned char COUNT_TOTAL_CMDS = 29;
constexpr unsigned char COUNT_TOTAL_PKTS = 30;

extern std::array<PlainWord<std::uint32_t>, COMMAND_COUNTERS> CommandCounts;
extern const std::array<std::string_view, COMMAND_COUNTERS> COMMAND_COUNTER_NAMES;

// Adds 1 to CommandCounts[index]; an index outside the table is ignored. For COUNT_TOTAL_CMDS the new total
// goes to the database too. Called by the receive thread (immediate requests, COUNT_TOTAL_PKTS) and the parse
// thread; two threads that count the same index at once may lose one, which the counters' purpose bears.
void IncrementCommandCounter(orvikData_t* data, unsigned char index);
// One line on standard output: the counter's name, " : " and the count.
void DumpCommandCounter(unsigned char index);
void DumpCommandCounterAll();
