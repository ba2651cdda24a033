#include "tests/support/test_record.h"

#include <algorithm>
#include <limits>
#include <span>
#include <stdexcept>

#include "platform/byte_order.h"
#include "platform/shared_memory.h"

#include "src/core/operating_values.h"
#include "src/display/handles.h"
#include "src/services/dbshm.h"
#include "tests/support/test_folder.h"

namespace {

// Handles start at 1, because an unknown name has handle 0.
void FillNameTable() {
  using namespace dbshm_layout;
  const std::span<std::uint8_t> object(static_cast<std::uint8_t*>(DBSHM::getMemoryPtr()), OBJECT_SIZE);
  std::size_t entry = NAMES_AT;
  for (std::uint32_t handle = 1; const variable_name_t& variable : VARIABLE_NAMES) {
    platform::StoreLe32(object, entry, handle++);
    std::ranges::copy(variable.name, object.subspan(entry + 4).begin());
    entry += NAME_ENTRY_SIZE;
  }
  platform::StoreLe32(object, LAST_NAME_AT, static_cast<std::uint32_t>(VARIABLE_COUNT - 1));
  DBSHM::makeParamMap();
}

struct runtime_t {
  runtime_t() {
    DBSHM::Init();
    if (DBSHM::getMemoryPtr() == nullptr) throw std::runtime_error("no parameter database for the test");
    FillNameTable();
  }
  ~runtime_t() { platform::UnlinkSharedObject(dbshm_layout::OBJECT_NAME); }

  RuntimeDirectoryForTest directory;
};

}  // namespace

void PrepareTestRuntime() {
  static const runtime_t RUNTIME;
}

double ParameterValue(const std::string& name) {
  double value = 0;
  return DBSHM::Read(DBSHM::getHandle(name), value) == 1 ? value : std::numeric_limits<double>::quiet_NaN();
}

RecordWithoutDatabase::RecordWithoutDatabase() {
  for (pthread_mutex_t* mutex :
       {&data_.canMutex, &data_.decapMutex, &data_.displayMutex, &data_.beeperMutex, &data_.dialsMutex}) {
    pthread_mutex_init(mutex, nullptr);
  }
  SetLanguage(&data_, 0);
  data_.running = 1;
}

TestRecord::TestRecord() {
  PrepareTestRuntime();
  for (const variable_name_t& variable : VARIABLE_NAMES) {
    const std::string name(variable.name);
    data_.variableHandles[name] = static_cast<int>(DBSHM::getHandle(name));
  }
  InitVariableHandles(&data_);
  SetLanguage(&data_, 0);
}
