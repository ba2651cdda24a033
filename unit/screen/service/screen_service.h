// The screen service and its compositor: pages of SVG that widget messages, variables and events change.
#pragma once

#include <memory>

#include "unit/service/service.h"

namespace unit {

std::unique_ptr<Service> MakeScreenService(const options_t& options);

}  // namespace unit
