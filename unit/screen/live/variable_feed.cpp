#include "unit/screen/live/variable_feed.h"

#include "src/services/dbshm.h"
#include "unit/database/attach.h"

namespace unit {

void VariableFeed::Accept(const database_change_t& change) {
  const auto found = variables_.find(change.handle);
  if (found == variables_.end()) return;
  for (const std::string& name : found->second) model_.SetVariable(name, change.value);
}

void VariableFeed::ReadAll(unsigned database) {
  if (database != database_) {
    database_ = database;
    FindHandles();
  }
  for (const auto& [handle, names] : variables_) {
    const variable_value_t value = ReadParameterValue(handle);
    for (const std::string& name : names) model_.SetVariable(name, value);
  }
}

void VariableFeed::FindHandles() {
  variables_.clear();
  for (const auto& [name, parameter] : model_.Names().variables) {
    unsigned handle = 0;
    if (DBSHM::getParameterHandle(parameter, handle) == 1) variables_[handle].push_back(name);
  }
}

}  // namespace unit
