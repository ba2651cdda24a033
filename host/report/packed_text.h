// Data as a web page carries them: compressed (zlib's form, RFC 1950), then in base64 (RFC 4648).
#pragma once

#include <string>
#include <string_view>

namespace host::report {

// Bytes as digits, in base64.
std::string EncodeBase64(std::string_view bytes);

// The result has letters, digits, "+", "/" and "=" alone. So no text of a log can end the element that it
// stands in.
std::string PackText(std::string_view text);

}  // namespace host::report
