#include "base/json_text.h"

#include <nlohmann/json.hpp>

namespace base {

std::string DumpJson(const nlohmann::json& value) {
  return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace base
