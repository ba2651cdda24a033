// The owner of the parameter database.
#pragma once

#include <memory>

#include "unit/service/service.h"

namespace unit {

std::unique_ptr<Service> MakeDatabaseService(const options_t& options);

}  // namespace unit
