// The front panel: shows the unit in a browser.
#pragma once

#include <memory>

#include "unit/service/service.h"

namespace unit {

std::unique_ptr<Service> MakePanelService(const options_t& options);

}  // namespace unit
