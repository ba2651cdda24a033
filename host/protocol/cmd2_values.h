// The operating values of the crane as CMD2 carries them, all eleven at once, and the file in which hx7 keeps
// those that it sent last.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/protocol/encode.h"

namespace host {

class Cmd2Values {
 public:
  Cmd2Values();  // all 0: nothing on the hook, no lamp lit
  // By the table's names ("load", "led"); the table must have the name. Percent is in percent.
  double Get(std::string_view name) const;
  void Set(std::string_view name, double value);
  MessageBytes MakeMessage() const;

 private:
  std::vector<double> values_;  // in the order of the table's fields
};

// In the runtime directory, one "name=value" a line. A file that is missing or broken gives the neutral values
// of what it does not say.
Cmd2Values LoadSentValues(const std::string& directory);
// Replaces the file in one step, so that a reader never sees half of it. Throws failure.
void SaveSentValues(const std::string& directory, const Cmd2Values& values);

}  // namespace host
