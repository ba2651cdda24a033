// The screen service with the compositor: shows pages of SVG and changes them by widget messages, variables and
// events.
#pragma once

#include <memory>

#include "unit/service/service.h"

namespace unit {

std::unique_ptr<Service> MakeScreenService(const options_t& options);

}  // namespace unit
