// Fuzzes the repair of host text: the result is always well-formed, and well-formed text stays unchanged.
#include <cstdint>
#include <cstdlib>
#include <string>

#include <utf8.h>

#include "src/text/utf8_text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
  const std::string text(input, input + size);
  std::string repaired = text;
  FixUTF8String(repaired);
  if (!utf8::is_valid(repaired)) std::abort();

  std::string again = repaired;
  FixUTF8String(again);
  if (again != repaired) std::abort();

  // U+FFFE and U+FFFF are the only characters that the library accepts and the repair replaces.
  const bool hasNonCharacter =
      text.find("\xEF\xBF\xBE") != std::string::npos || text.find("\xEF\xBF\xBF") != std::string::npos;
  if (utf8::is_valid(text) && !hasNonCharacter && repaired != text) std::abort();
  return 0;
}
