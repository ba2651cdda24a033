// The screen service and its compositor: pages of SVG that widget messages, variables and events change.
#pragma once

#include <memory>
#include <string>

#include "unit/service/service.h"

namespace unit {

std::unique_ptr<Service> MakeScreenService(const Options_t& options);

// Asks the running screen service of this runtime directory for its picture and writes it as PNG. Empty on
// success, else what went wrong.
std::string SaveSnapshot(const std::string& file);

}  // namespace unit
