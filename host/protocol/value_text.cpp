#include "host/protocol/value_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <iterator>
#include <optional>
#include <utility>

#include <utf8.h>

#include "base/nearest_word.h"
#include "host/protocol/errors.h"
#include "host/protocol/field_codecs.h"

namespace host {
namespace {

constexpr std::size_t HOST_KEYS = 23;
constexpr std::uint8_t BEEP_ONCE = 127;

template <typename T>
std::optional<T> WholeNumber(std::string_view text, int base) {
  T value{};
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  if (error != std::errc() || stop != text.data() + text.size()) return std::nullopt;
  return value;
}

std::optional<double> AnyNumber(std::string_view text) {
  if (text.starts_with("0x") || text.starts_with("0X")) {
    const auto value = WholeNumber<std::uint32_t>(text.substr(2), 16);
    return value ? std::optional<double>(*value) : std::nullopt;
  }
  double value = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc() || stop != text.data() + text.size()) return std::nullopt;
  return value;
}

// The shortest text that reads back to the same float. Scaling loses a float's last digit, so a scaled value
// has the seven digits that are exact.
std::string FloatText(const field_t& field, double value) {
  constexpr int SURE_DIGITS = 7;
  std::array<char, 64> text{};
  char* const end = text.data() + text.size();
  const auto [stop, error] =
      field.scale == 1.0 ? std::to_chars(text.data(), end, static_cast<float>(value), std::chars_format::fixed)
                         : std::to_chars(text.data(), end, value, std::chars_format::general, SURE_DIGITS);
  return error == std::errc() ? std::string(text.data(), stop) : std::to_string(value);
}

std::vector<std::string_view> NamesOnly(std::span<const number_name_t> names) {
  std::vector<std::string_view> only;
  std::ranges::transform(names, std::back_inserter(only), &number_name_t::name);
  return only;
}

std::uint32_t ParseLamps(std::string_view text) {
  if (text == "none") return 0;
  if (text == "all") return 0xFFFFFFFF;
  std::uint32_t word = 0;
  for (const std::string_view name : SplitAt(text, ',')) {
    const auto* const lamp = std::ranges::find(LampNames(), name).base();
    const auto bit = static_cast<unsigned>(lamp - LampNames().data());
    if (bit >= LampNames().size()) {
      throw UsageError("\"" + std::string(name) + "\" is not a lamp" + base::Suggest(name, LampNames()));
    }
    word |= 1U << bit;
  }
  return word;
}

[[noreturn]] void RefuseValue(const field_t& field, std::string_view text) {
  std::string right = field.names.empty() ? std::string(field.range) : ListNames(field.names);
  if (right.empty()) right = "a number";
  throw UsageError("\"" + std::string(text) + "\" does not fit; it takes " + right +
                   base::Suggest(text, NamesOnly(field.names)));
}

void ParseKeyMask(std::string_view text, std::vector<std::uint8_t>& masks) {
  const auto parts = SplitAt(text, ':');
  const auto key = NumberOf(HostKeyNames(), parts[0]);
  if (!key) {
    throw UsageError("\"" + std::string(parts[0]) + "\" is not a host key" +
                     base::Suggest(parts[0], NamesOnly(HostKeyNames())));
  }
  constexpr field_t MASK{.name = "mask", .range = "0 to 255"};
  std::uint8_t mask = BEEP_ONCE;
  if (parts.size() > 1) {
    const auto named = NumberOf(KeyMaskNames(), parts[1]);
    mask = named ? *named : static_cast<std::uint8_t>(ParseValue(MASK, parts[1]));
  }
  masks[*key] = mask;
}

}  // namespace

const field_t* FindField(const command_t& command, std::string_view name) {
  const auto found = std::ranges::find(command.fields, name, &field_t::name);
  return found == command.fields.end() ? nullptr : &*found;
}

double ParseValue(const field_t& field, std::string_view text) {
  if (const auto named = NumberOf(field.names, text)) return *named;
  const auto number = AnyNumber(text);
  if (!number) {
    if (field.type == field_type_t::LAMPS) return ParseLamps(text);
    RefuseValue(field, text);
  }
  const field_codec_t& codec = CodecOf(field.type);
  const bool whole = !codec.whole || std::trunc(*number) == *number;
  if (*number < codec.least || *number > codec.most || !whole) RefuseValue(field, text);
  return *number;
}

std::string FormatValue(const field_t& field, double value) {
  if (field.type == field_type_t::LAMPS) {
    std::string text;
    for (const std::string& lamp : ListLamps(static_cast<std::uint32_t>(value)))
      text += (text.empty() ? "" : ",") + lamp;
    return text.empty() ? "none" : text;
  }
  if (field.type == field_type_t::FLOAT_BE) return FloatText(field, value);
  const auto number = static_cast<int>(value);
  const std::string_view name = NameOf(field.names, static_cast<unsigned>(number));
  return name.empty() ? std::to_string(number) : std::string(name);
}

double ParseSpeed(const std::string& text, double fastest) {
  if (text == "max") return 0;
  constexpr double SLOWEST = 0.001;
  double speed = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), speed);
  if (error == std::errc() && stop == text.data() + text.size() && speed >= SLOWEST && speed <= fastest) {
    return speed;
  }
  throw UsageError("--speed takes max or a factor from 0.001 to " + std::to_string(std::llround(fastest)) +
                   ", such as 2 for twice as fast");
}

std::vector<std::uint8_t> ParseKeyMasks(std::string_view text) {
  if (text == "all") return std::vector<std::uint8_t>(HOST_KEYS, BEEP_ONCE);
  std::vector<std::uint8_t> masks(HOST_KEYS, 0);
  if (text == "none") return masks;
  for (const std::string_view part : SplitAt(text, ',')) ParseKeyMask(part, masks);
  return masks;
}

std::string FormatKeyMasks(std::span<const std::uint8_t> masks) {
  std::string text;
  for (unsigned key = 0; key < masks.size(); ++key) {
    const std::uint8_t mask = masks[key];
    if (mask == 0) continue;
    const std::string_view name = NameOf(HostKeyNames(), key);
    text.append(text.empty() ? "" : " ").append(name.empty() ? std::to_string(key) : std::string(name));
    if (mask == BEEP_ONCE) continue;
    const std::string_view known = NameOf(KeyMaskNames(), mask);
    text.append(":").append(known.empty() ? std::to_string(mask) : std::string(known));
  }
  return text.empty() ? "none" : text;
}

std::vector<std::string> ListLamps(std::uint32_t word) {
  std::vector<std::string> lamps;
  for (unsigned bit = 0; bit < LampNames().size(); ++bit) {
    if ((word >> bit & 1U) != 0) lamps.emplace_back(LampNames()[bit]);
  }
  return lamps;
}

std::string ListNames(std::span<const number_name_t> names) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i > 0) text += i + 1 == names.size() ? " or " : ", ";
    text.append(names[i].name).append(" (").append(std::to_string(names[i].number)).append(")");
  }
  return text;
}

std::vector<std::string_view> SplitAt(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (;;) {
    const std::size_t end = text.find(separator);
    parts.push_back(text.substr(0, end));
    if (end == std::string_view::npos) return parts;
    text.remove_prefix(end + 1);
  }
}

std::string HexByte(std::uint8_t byte) {
  constexpr std::string_view DIGITS = "0123456789ABCDEF";
  return {DIGITS[byte >> 4U], DIGITS[byte & 0xFU]};
}

std::string Printable(std::string_view text) {
  constexpr unsigned char DELETE = 0x7F;
  std::string valid;
  utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(valid));
  std::string safe;
  for (const char c : valid) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < ' ' || byte == DELETE) {
      safe.append("\\x").append(HexByte(byte));
    } else {
      if (c == '"' || c == '\\') safe.push_back('\\');
      safe.push_back(c);
    }
  }
  return safe;
}

}  // namespace host
