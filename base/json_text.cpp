#include "base/json_text.h"

#include <nlohmann/json.hpp>

namespace base {
namespace {

template <typename Json>
std::string DumpLine(const Json& value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

std::string DumpJson(const nlohmann::json& value) {
  return DumpLine(value);
}

std::string DumpOrderedJson(const nlohmann::ordered_json& value) {
  return DumpLine(value);
}

}  // namespace base
