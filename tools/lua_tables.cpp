#include <sstream>

#include "host/protocol/protocol.h"
#include "src/core/frame_layout.h"
#include "tools/dissector_tables.h"

namespace tables {
namespace {

using host::command_t;
using host::field_t;
using host::field_type_t;
using host::unit_t;

const char* TypeName(field_type_t type) {
  switch (type) {
    case field_type_t::I16_BE:
      return "i16";
    case field_type_t::FLOAT_BE:
      return "float";
    case field_type_t::LAMPS:
      return "lamps";
    case field_type_t::KEY_MASKS:
      return "key_masks";
    case field_type_t::TEXT:
      return "text";
    default:
      return "u8";
  }
}

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

// The protocol's names and texts have no characters that Lua would want escaped, but quotes may come.
std::string Quoted(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + "\"";
}

std::string Names(std::span<const host::number_name_t> names) {
  std::string text = "{";
  for (const auto& [number, name] : names) {
    text += (text.size() > 1 ? ", [" : " [") + std::to_string(number) + "] = " + Quoted(name);
  }
  return text + " }";
}

std::string List(std::span<const std::string_view> names) {
  std::string text = "{\n";
  for (std::size_t i = 0; i < names.size(); ++i)
    text += "    [" + std::to_string(i) + "] = " + Quoted(names[i]) + ",\n";
  return text + "  }";
}

std::string Field(const field_t& field) {
  std::ostringstream text;
  text << "{ name = " << Quoted(field.name) << ", type = \"" << TypeName(field.type)
       << "\", offset = " << int{field.offset} << ", size = " << int{field.size};
  if (field.unit != unit_t::NONE) text << ", unit = \"" << host::UnitName(field.unit) << '"';
  if (field.scale != 1.0) text << ", scale = " << field.scale;
  if (!field.names.empty()) text << ",\n          names = " << Names(field.names);
  text << " }";
  return text.str();
}

std::string Fields(std::span<const field_t> fields) {
  std::string text = "{";
  for (const field_t& field : fields) text += "\n        " + Field(field) + ",";
  return text + (fields.empty() ? "}" : "\n      }");
}

std::string Command(const command_t& command) {
  std::ostringstream text;
  text << "    { number = " << int{command.number} << ", sub = " << command.sub
       << ", name = " << Quoted(command.name) << ", least = " << int{command.leastLength} << ", layout = \""
       << LayoutName(command.layout) << "\",\n"
       << "      about = " << Quoted(command.about) << ",\n      fields = " << Fields(command.fields) << ",\n";
  if (command.reply.frames > 0) {
    text << "      reply_frames = " << int{command.reply.frames}
         << ",\n      reply = " << Fields(command.reply.fields) << ",\n";
  }
  text << "    },\n";
  return text.str();
}

}  // namespace

std::string LuaText() {
  std::ostringstream text;
  text << "-- The host protocol as host/protocol.cpp has it. Made by make_dissector_tables; do not edit.\n"
       << "return {\n  host_id = 0x" << std::hex << std::uppercase << HOST_FRAME_ID << ",\n  display_id = 0x"
       << DISPLAY_FRAME_ID << std::dec << ",\n  most_frames = " << MAX_MESSAGE_FRAMES
       << ",\n  extended_command = " << int{host::EXTENDED_COMMAND} << ",\n  commands = {\n";
  for (const command_t& command : host::Commands()) text << Command(command);
  text << "  },\n  text_fields = " << List(host::TextFieldNames()) << ",\n  lamps = " << List(host::LampNames())
       << ",\n  keys = " << Names(host::HostKeyNames()) << ",\n  key_masks = " << Names(host::KeyMaskNames())
       << ",\n}\n";
  return text.str();
}

}  // namespace tables
