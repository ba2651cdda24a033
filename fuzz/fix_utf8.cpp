// Fuzzes the repair of host text. Oracle: the repair from the table of RFC 3629.
#include "bench/exhaustive/utf8_reference.h"
#include "fuzz/fuzz_input.h"
#include "src/text/utf8_text.h"

void fuzz::RunInput(bytes_t input) {
  std::string repaired = TextOf(input);
  FixUTF8String(repaired);
  Require(repaired == exhaustive::ExpectedRepair(TextOf(input)));
}
