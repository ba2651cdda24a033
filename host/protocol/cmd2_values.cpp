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

std::size_t IndexOf(std::string_view name) {
  const auto fields = OperatingValuesCommand().fields;
  const auto found = std::ranges::find(fields, name, &field_t::name);
  assert(found != fields.end());
  return static_cast<std::size_t>(found - fields.begin());
}

}  // namespace

OperatingValues::OperatingValues() : values_(OperatingValuesCommand().fields.size(), 0.0) {}

double OperatingValues::Get(std::string_view name) const {
  return values_[IndexOf(name)];
}

void OperatingValues::Set(std::string_view name, double value) {
  values_[IndexOf(name)] = value;
}

Message OperatingValues::Encode() const {
  return host::Encode(OperatingValuesCommand(), values_);
}

OperatingValues LoadOperatingValues(const std::string& directory) {
  OperatingValues values;
  std::ifstream file(std::filesystem::path(directory) / FILE_NAME);
  for (std::string line; std::getline(file, line);) {
    const std::size_t equals = line.find('=');
    const field_t* field = FindField(OperatingValuesCommand(), line.substr(0, equals));
    if (field == nullptr || equals == std::string::npos) continue;
    try {
      values.Set(field->name, ParseValue(*field, line.substr(equals + 1)));
    } catch (const UsageError&) {
      continue;  // a value that cannot be read is a value that was not said
    }
  }
  return values;
}

void SaveOperatingValues(const std::string& directory, const OperatingValues& values) {
  const std::filesystem::path path = std::filesystem::path(directory) / FILE_NAME;
  std::string text;
  for (const field_t& field : OperatingValuesCommand().fields) {
    text += std::string(field.name) + "=" + FormatValue(field, values.Get(field.name)) + "\n";
  }
  if (!bus::ReplaceFile(path, text)) throw Failure("cannot keep the values in " + path.string());
}

}  // namespace host
