// The J1939 service, which owns the bus.
#pragma once

#include <memory>

#include "unit/service/service.h"

namespace unit {

std::unique_ptr<Service> MakeJ1939Service(const options_t& options);

}  // namespace unit
