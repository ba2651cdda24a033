// The notification manager: named channels from publishers to subscribers.
#pragma once

#include <memory>

#include "unit/service/service.h"

namespace unit {

std::unique_ptr<Service> MakeNotifyService(const options_t& options);

}  // namespace unit
