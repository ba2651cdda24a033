// make_dissector_tables [--check] REPOSITORY: writes the files that describe the host protocol to other
// programs. With --check it only compares them with what it would write, and fails if they differ.
#include <array>
#include <fstream>
#include <iostream>
#include <sstream>

#include "tools/dissector_tables.h"

namespace {

struct file_t {
  const char* name;
  std::string (*text)();
};
constexpr std::array<file_t, 2> FILES = {
    {{"/tools/wireshark/orvik_tables.lua", tables::LuaText}, {"/config/orvik.dbc", tables::DbcText}}};

bool CheckFile(const std::string& name, const std::string& text) {
  std::ostringstream held;
  held << std::ifstream(name, std::ios::binary).rdbuf();
  if (held.str() == text) return true;
  std::cerr << name
            << " differs from host/protocol/protocol.cpp; write it again: make_dissector_tables REPOSITORY\n";
  return false;
}

bool WriteTableFile(const std::string& name, const std::string& text) {
  std::ofstream file(name, std::ios::binary);
  if (file << text && file.flush()) return true;
  std::cerr << "make_dissector_tables: cannot write " << name << "; is REPOSITORY right, and writable?\n";
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  const bool check = argc == 3 && std::string_view(argv[1]) == "--check";
  if (argc != 2 && !check) {
    std::cerr << "usage: make_dissector_tables [--check] REPOSITORY\n";
    return 2;
  }
  bool good = true;
  for (const file_t& file : FILES)
    good = (check ? CheckFile : WriteTableFile)(std::string(argv[argc - 1]) + file.name, file.text()) && good;
  return good ? 0 : 1;
}
