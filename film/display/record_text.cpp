#include "film/display/record_text.h"

#include <algorithm>
#include <utility>

#include <nlohmann/json.hpp>

#include "base/json_text.h"

namespace film {
namespace {

bool IsPlain(char character) {
  return character >= ' ' && character <= '~' && character != '"' && character != '\\';
}

}  // namespace

std::string RecordText::Quote(std::string_view text) {
  if (!std::ranges::all_of(text, IsPlain)) return base::DumpJson(std::string(text));
  std::string quoted;
  quoted.reserve(text.size() + 2);
  quoted += '"';
  quoted += text;
  quoted += '"';
  return quoted;
}

RecordText& RecordText::AddText(std::string_view name, std::string_view value) {
  return AddJson(name, Quote(value));
}

RecordText& RecordText::AddJson(std::string_view name, std::string_view json) {
  text_ += ",\"";
  text_ += name;
  text_ += "\":";
  text_ += json;
  return *this;
}

std::string RecordText::Take() && {
  text_ += '}';
  return std::move(text_);
}

}  // namespace film
