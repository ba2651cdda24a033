#include "unit/board/key_map.h"

#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>

#include <libevdev/libevdev.h>

#include "bus/text_fields.h"
#include "unit/board/keys.h"

namespace unit {
namespace {

std::optional<unsigned> ParseDecimalOrHex(std::string_view text) {
  const bool isHex = text.starts_with("0x") || text.starts_with("0X");
  if (isHex) text.remove_prefix(2);
  return bus::ParseNumber<unsigned>(text, isHex ? 16 : 10);
}

std::optional<unsigned> ParseCode(const std::string& text) {
  const int known = libevdev_event_code_from_name(EV_KEY, text.c_str());
  const auto code = known >= 0 ? static_cast<unsigned>(known) : ParseDecimalOrHex(text);
  // Code 0 is reserved: no key has it.
  return code && *code > KEY_RESERVED && *code <= KEY_MAX ? code : std::nullopt;
}

int ParseFrontKey(const std::string& text) {
  const auto key = ParseDecimalOrHex(text);
  return key && *key <= KEY_COUNT && IsKey(static_cast<int>(*key)) ? static_cast<int>(*key) : 0;
}

}  // namespace

KeyMap KeyMap::Default() {
  KeyMap map;
  for (int key = 1; key <= KEY_COUNT; ++key) {
    map.frontKeys_[KEY_F1 + static_cast<unsigned>(key - 1)] = key;
    map.frontKeys_[KEY_1 + static_cast<unsigned>(key - 1)] = key;
  }
  return map;
}

KeyMap KeyMap::Read(const std::string& path) {
  std::error_code unknown;
  std::ifstream file(path);
  if (!file || !std::filesystem::is_regular_file(path, unknown)) {
    throw std::runtime_error("the key map " + path +
                             " cannot be read; give --key-map a file with lines like KEY_F1 1");
  }
  return Parse(file, path);
}

KeyMap KeyMap::Parse(std::istream& text, const std::string& name) {
  KeyMap map;
  int number = 0;
  for (std::string line; std::getline(text, line);) {
    ++number;
    try {
      map.AddLine(line.substr(0, line.find('#')));
    } catch (const std::runtime_error& fault) {
      throw std::runtime_error("key map " + name + ", line " + std::to_string(number) + ": " + fault.what());
    }
  }
  if (map.frontKeys_.empty()) {
    throw std::runtime_error("the key map " + name + " names no key; write lines like KEY_F1 1");
  }
  return map;
}

void KeyMap::AddLine(const std::string& line) {
  std::istringstream words(line);
  std::string key;
  std::string frontKey;
  std::string more;
  if (!(words >> key)) return;
  if (!(words >> frontKey) || words >> more) {
    throw std::runtime_error("a line has a key and its front key, like KEY_F1 1");
  }
  const auto code = ParseCode(key);
  if (!code)
    throw std::runtime_error("\"" + key +
                             "\" is no key; give a name like KEY_F1 or a number (evtest shows both)");
  const int front = ParseFrontKey(frontKey);
  if (front == 0) throw std::runtime_error("\"" + frontKey + "\" is no front key; these are 1 to 8");
  if (!frontKeys_.emplace(*code, front).second) throw std::runtime_error(key + " is in the file a second time");
}

int KeyMap::FrontKey(unsigned code) const {
  const auto found = frontKeys_.find(code);
  return found == frontKeys_.end() ? 0 : found->second;
}

std::uint32_t KeyMap::Held(const std::function<bool(unsigned code)>& isDown) const {
  std::uint32_t held = 0;
  for (const auto& [code, front] : frontKeys_) {
    if (isDown(code)) held |= KeyBit(front);
  }
  return held;
}

}  // namespace unit
