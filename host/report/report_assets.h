// The report's page, style and scripts, embedded in the program.
#pragma once

#include <string_view>

namespace host::report {

// The content of a file of host/report/assets, of Chart.js ("chart.min.js"), or of the typeface B612
// ("B612-Regular.otf").
std::string_view Asset(std::string_view name);

}  // namespace host::report
