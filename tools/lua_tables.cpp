#include <sstream>

#include "host/protocol/field_codecs.h"
#include "host/protocol/protocol.h"
#include "src/core/frame_layout.h"
#include "tools/dissector_tables.h"

namespace tables {
namespace {

using host::command_t;
using host::field_t;
using host::unit_t;

const char* LayoutName(host::message_layout_t layout) {
  switch (layout) {
    case host::message_layout_t::TEXTS:
      return "texts";
    case host::message_layout_t::FLASH:
      return "flash";
    default:
      return "fields";
  }
}

// A Lua string; quotes and backslashes are escaped.
std::string Quoted(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + "\"";
}

std::string FormatNames(std::span<const host::number_name_t> names) {
  std::string text = "{";
  for (const auto& [number, name] : names) {
    text += (text.size() > 1 ? ", [" : " [") + std::to_string(number) + "] = " + Quoted(name);
  }
  return text + " }";
}

// The units that the host sets: by the value of the command `units`.
std::string FormatSetUnits() {
  std::string text = "{";
  for (const unit_t unit : {unit_t::WEIGHT, unit_t::LENGTH}) {
    const host::unit_words_t& words = host::WordsOf(unit);
    text += "\n    " + std::string(words.name) + " = { [0] = " + Quoted(words.bySetting[0]) +
            ", [1] = " + Quoted(words.bySetting[1]) + " },";
  }
  return text + "\n  }";
}

std::string FormatList(std::span<const std::string_view> names) {
  std::string text = "{\n";
  for (std::size_t i = 0; i < names.size(); ++i)
    text += "    [" + std::to_string(i) + "] = " + Quoted(names[i]) + ",\n";
  return text + "  }";
}

std::string FormatFieldEntry(const field_t& field) {
  std::ostringstream text;
  text << "{ name = " << Quoted(field.name) << ", type = \"" << host::CodecOf(field.type).name
       << "\", offset = " << int{field.offset} << ", size = " << int{field.size};
  if (field.unit != unit_t::NONE) text << ", unit = \"" << host::WordsOf(field.unit).name << '"';
  if (field.scale != 1.0) text << ", scale = " << field.scale;
  if (!field.names.empty()) text << ",\n          names = " << FormatNames(field.names);
  text << " }";
  return text.str();
}

std::string FormatFieldEntries(std::span<const field_t> fields) {
  std::string text = "{";
  for (const field_t& field : fields) text += "\n        " + FormatFieldEntry(field) + ",";
  return text + (fields.empty() ? "}" : "\n      }");
}

std::string FormatCommand(const command_t& command) {
  std::ostringstream text;
  text << "    { number = " << int{command.number} << ", sub = " << command.sub
       << ", name = " << Quoted(command.name) << ", least = " << int{command.leastLength} << ", layout = \""
       << LayoutName(command.layout) << "\",\n"
       << "      about = " << Quoted(command.about)
       << ",\n      fields = " << FormatFieldEntries(command.fields) << ",\n";
  if (command.reply.frames > 0) {
    text << "      reply_frames = " << int{command.reply.frames}
         << ",\n      reply = " << FormatFieldEntries(command.reply.fields) << ",\n";
  }
  text << "    },\n";
  return text.str();
}

}  // namespace

std::string LuaText() {
  std::ostringstream text;
  text << "-- The host protocol, from host/protocol/protocol.cpp. Made by make_dissector_tables; do not edit.\n"
       << "return {\n  host_id = 0x" << std::hex << std::uppercase << HOST_FRAME_ID << ",\n  display_id = 0x"
       << DISPLAY_FRAME_ID << std::dec << ",\n  most_frames = " << MAX_MESSAGE_FRAMES
       << ",\n  extended_command = " << int{host::EXTENDED_COMMAND} << ",\n  set_units = " << FormatSetUnits()
       << ",\n  commands = {\n";
  for (const command_t& command : host::Commands()) text << FormatCommand(command);
  text << "  },\n  text_fields = " << FormatList(host::TextFieldNames())
       << ",\n  lamps = " << FormatList(host::LampNames())
       << ",\n  keys = " << FormatNames(host::HostKeyNames())
       << ",\n  key_masks = " << FormatNames(host::KeyMaskNames()) << ",\n}\n";
  return text.str();
}

}  // namespace tables
