// The eleven operating values that one CMD2 message carries, and the file in which hx7 keeps the values that it
// sent last.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/protocol/encode.h"

namespace host {

class Cmd2Values {
 public:
  Cmd2Values();  // all 0: no load on the hook, no lamp lit
  // `name` is a field name of the protocol table ("load", "led"), and the table must have it. Percent of safe
  // working load is in percent.
  double Get(std::string_view name) const;
  void Set(std::string_view name, double value);
  MessageBytes MakeMessage() const;

 private:
  std::vector<double> values_;  // in the order of the table's fields
};

// Reads the file hx7.values of the runtime directory, one "name=value" a line. A value that the file lacks, or
// that cannot be read, is 0.
Cmd2Values ReadSentValues(const std::string& directory);
// Replaces the file in one step, so that another hx7 never reads half of it. Throws Failure.
void WriteSentValues(const std::string& directory, const Cmd2Values& values);

}  // namespace host
