// The host protocol's tables for other programs: Lua tables for the Wireshark dissector, and a DBC file. Both
// are made from the table of host/protocol/protocol.cpp, so that no command is described twice.
#pragma once

#include <string>

namespace tables {

// tools/wireshark/orvik_tables.lua: a chunk that returns one table.
std::string LuaText();

// config/orvik.dbc: the values that a single frame holds. DBC files cannot describe messages of several frames.
std::string DbcText();

}  // namespace tables
