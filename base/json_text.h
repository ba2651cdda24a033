// JSON as text that is always valid UTF-8.
#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

namespace base {

// The value on one line. Bytes that are not UTF-8 become U+FFFD: text from the bus or from a file must not end
// the program with an exception.
std::string DumpJson(const nlohmann::json& value);
// The same with the members in the order in which they were added.
std::string DumpOrderedJson(const nlohmann::ordered_json& value);

}  // namespace base
