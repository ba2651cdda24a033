// Sets the screen's variables from the parameters of the database.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "unit/screen/design/screen_model.h"
#include "unit/service/database_change.h"

namespace unit {

// Not thread-safe; its owner locks it together with the model.
class VariableFeed {
 public:
  explicit VariableFeed(ScreenModel& model) : model_(model) {}

  // Sets the variables of the parameter that has changed.
  void Accept(const database_change_t& change);
  // Sets all variables. A value can cease to be valid without a message, and a full queue can lose messages.
  // The caller holds the DatabaseView that `database` is the number of; it is not 0.
  void ReadAll(unsigned database);

 private:
  void FindHandles();

  ScreenModel& model_;
  std::map<std::uint32_t, std::vector<std::string>> variables_;  // by the parameter's handle
  unsigned database_ = 0;                                        // the one that the handles are of
};

}  // namespace unit
