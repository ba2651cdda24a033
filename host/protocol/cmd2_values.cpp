#include "host/protocol/cmd2_values.h"

#include <algorithm>
#include <cassert>
#include <filesystem>
#include <fstream>

#include "base/whole_file.h"
#include "host/protocol/errors.h"
#include "host/protocol/value_text.h"

namespace host {
namespace {

constexpr const char* FILE_NAME = "hx7.values";

std::size_t FieldIndex(std::string_view name) {
  const auto fields = OperatingValuesCommand().fields;
  const auto found = std::ranges::find(fields, name, &field_t::name);
  assert(found != fields.end());
  return static_cast<std::size_t>(found - fields.begin());
}

}  // namespace

Cmd2Values::Cmd2Values() : values_(OperatingValuesCommand().fields.size(), 0.0) {}

double Cmd2Values::Get(std::string_view name) const {
  return values_[FieldIndex(name)];
}

void Cmd2Values::Set(std::string_view name, double value) {
  values_[FieldIndex(name)] = value;
}

MessageBytes Cmd2Values::MakeMessage() const {
  return host::MakeMessage(OperatingValuesCommand(), values_);
}

Cmd2Values ReadSentValues(const std::string& directory) {
  Cmd2Values values;
  std::ifstream file(std::filesystem::path(directory) / FILE_NAME);
  for (std::string line; std::getline(file, line);) {
    const std::size_t equals = line.find('=');
    const field_t* field = FindField(OperatingValuesCommand(), line.substr(0, equals));
    if (field == nullptr || equals == std::string::npos) continue;
    try {
      values.Set(field->name, ParseValue(*field, line.substr(equals + 1)));
    } catch (const UsageError&) {
      continue;  // an unreadable value stays 0, as if the file lacked it
    }
  }
  return values;
}

void WriteSentValues(const std::string& directory, const Cmd2Values& values) {
  const std::filesystem::path path = std::filesystem::path(directory) / FILE_NAME;
  std::string text;
  for (const field_t& field : OperatingValuesCommand().fields) {
    text += std::string(field.name) + "=" + FormatValue(field, values.Get(field.name)) + "\n";
  }
  if (!base::ReplaceFile(path, text))
    throw Failure("cannot save the operating values to " + path.string() + "; is the folder writable?");
}

}  // namespace host
