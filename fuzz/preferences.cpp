// Fuzzes the preference reader: it reads any document to its end or throws one of its own exceptions.
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "src/services/preference_reader.h"

namespace {

constexpr int MAX_DEPTH = 64;

void ReadAttributes(const PREF::Reader::Node& node) {
  try {
    node.getAttributeString("name");
    node.getAttributeInt("id");
    node.getAttributeDouble("id");
    node.getAttributeUint8("id");
    node.getAttributeChar("name");
  } catch (const PREF::Reader::Node::AttributeNotFoundException&) {
  } catch (const std::out_of_range&) {  // an empty value has no first character
  }
}

// Descends into every second child, so that the reader must skip the others by itself.
void Walk(PREF::Reader& reader, int depth) {
  if (depth > MAX_DEPTH) return;
  int place = 0;
  for (PREF::Reader::Node* node = reader.getFirstChild(); node != nullptr; node = reader.getNextSibling()) {
    ReadAttributes(*node);
    if (place % 3 == 2) return reader.skipSiblings();
    if (place++ % 2 == 0) Walk(reader, depth + 1);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
  std::istringstream stream(std::string(input, input + size));
  PREF::Reader reader(stream);
  try {
    ReadAttributes(*reader.beginParsing());
    Walk(reader, 0);
  } catch (const PREF::Reader::EOFFoundException&) {
  } catch (const PREF::Reader::BadParseException&) {
  }
  return 0;
}
