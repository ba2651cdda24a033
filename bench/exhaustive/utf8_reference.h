// The repair of host text, from the rules alone.
#pragma once

#include <string>
#include <string_view>

namespace exhaustive {

// Well-formed sequences are recognised by the table of RFC 3629, section 4, which names the range of each byte;
// no code point is ever put together.
std::string ExpectedRepair(std::string_view text);

}  // namespace exhaustive
