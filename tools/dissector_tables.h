// The protocol's tables for other programs: the Lua tables of the Wireshark dissector and the DBC file. Both
// are made from host/protocol.h, so that no command is described twice.
#pragma once

#include <string>

namespace tables {

// tools/wireshark/orvik_tables.lua: a chunk that returns one table.
std::string LuaText();

// config/orvik.dbc: what can be said of a frame without knowing the ones before it.
std::string DbcText();

}  // namespace tables
