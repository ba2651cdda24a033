// The list of the database's parameters, config/parameters.xml.
//
//   <orvik-parameters version="1">
//     <Parameter name="OrvikTires" handle="1" first="0" notify="1"/>
//
// name: 1 to 127 bytes; handle: 1 to NAMED_HANDLES - 1; both unique. first: the
// first value, a number; without it the parameter is not valid until a program writes it. notify: 1 where
// changes are published; absent means 0.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace unit {

struct parameter_t {
  std::string name;
  unsigned handle = 0;
  std::optional<double> first;
  bool notify = false;
};

// Throws std::runtime_error with file, line, the problem and what to write instead.
std::vector<parameter_t> ReadParameterFile(const std::string& file);
// The same for a text; `file` is the name for error messages.
std::vector<parameter_t> ReadParameters(std::string_view text, const std::string& file);

}  // namespace unit
